#include "platform/host/devices/device_tree.h"

#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "platform/host/registry/key_access.h"
#include "platform/host/registry/value_rules.h"

namespace host {

using namespace registry;  // NOLINT: this is a view of the registry's keys

namespace {

constexpr std::u16string_view kDefaultDevice = u"ACPI\\QVX04A7\\0";
constexpr std::u16string_view kDefaultService = u"hkd04a7";
constexpr std::u16string_view kDefaultDriver = u"{4d36e97d-e325-11ce-bfc1-08002be10318}\\0000";
constexpr const char16_t* kControl = u"Control";
constexpr int kLevels = 3;  // enumerator, device, instance

KeyPath MachinePath(std::u16string_view base, std::u16string_view rest = {}) {
  std::u16string text(base);
  if (!rest.empty()) text.append(u"\\").append(rest);
  KeyPath path;
  MakeKeyPath(HKEY_LOCAL_MACHINE, text.c_str(), 0, 0, &path);
  return path;
}

// An empty text for a value that is missing or no string.
std::u16string ReadText(Database& database, KeyId key, const char16_t* name) {
  StoredValue value;
  if (ReadValue(database, key, MakeKeyName(name), &value) != ERROR_SUCCESS || value.type != REG_SZ) return {};
  Terminate(&value);
  std::u16string text(value.data.size() / sizeof(char16_t), u'\0');
  std::memcpy(text.data(), value.data.data(), text.size() * sizeof(char16_t));
  return text.c_str();
}

DWORD WriteText(Database& database, KeyId key, const char16_t* name, std::u16string_view text) {
  const std::u16string terminated(text);
  const auto* bytes = reinterpret_cast<const BYTE*>(terminated.c_str());
  return WriteValue(database, key, MakeKeyName(name), REG_SZ, {bytes, (terminated.size() + 1) * sizeof(char16_t)});
}

bool IsUnplugged(Database& database, KeyId key) {
  StoredValue value;
  constexpr std::array<BYTE, sizeof(DWORD)> kOne = {1, 0, 0, 0};
  return ReadValue(database, key, MakeKeyName(u"Unplugged"), &value) == ERROR_SUCCESS && value.type == REG_DWORD &&
         std::equal(value.data.begin(), value.data.end(), kOne.begin(), kOne.end());
}

struct NodeKey {
  std::u16string id;
  KeyId key = 0;
};

// The keys `levels` below `from`, whose paths below the tree's root begin with `prefix`.
DWORD Collect(Database& database, const NodeKey& from, int levels, std::vector<NodeKey>* found) {
  if (levels == 0) {
    found->push_back(from);
    return ERROR_SUCCESS;
  }
  std::u16string name;
  for (DWORD index = 0;; ++index) {
    DWORD code = SubkeyAt(database, from.key, index, &name);
    if (code == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    NodeKey child{from.id.empty() ? name : from.id + u"\\" + name, 0};
    if (code == ERROR_SUCCESS) code = FindChild(database, from.key, MakeKeyName(name), &child.key);
    if (code == ERROR_SUCCESS) code = Collect(database, child, levels - 1, found);
    if (code != ERROR_SUCCESS) return code;
  }
}

DeviceNode ReadNode(Database& database, const NodeKey& node) {
  KeyId control = 0;
  const bool present = FindChild(database, node.key, MakeKeyName(kControl), &control) == ERROR_SUCCESS;
  return {node.id, ReadText(database, node.key, u"Service"), ReadText(database, node.key, u"Driver"), present};
}

DWORD MakeDefaultDevice(Database& database, KeyId* root) {
  KeyId node = 0;
  KeyId software = 0;
  DWORD code = CreatePath(database, MachinePath(kEnumKey, kDefaultDevice), false, &node, nullptr);
  if (code == ERROR_SUCCESS) code = WriteText(database, node, u"Service", kDefaultService);
  if (code == ERROR_SUCCESS) code = WriteText(database, node, u"Driver", kDefaultDriver);
  if (code == ERROR_SUCCESS) {
    code = CreatePath(database, MachinePath(kClassKey, kDefaultDriver), false, &software, nullptr);
  }
  return code == ERROR_SUCCESS ? FindKey(database, MachinePath(kEnumKey), root) : code;
}

DWORD MakePresent(Database& database, const NodeKey& node) {
  KeyId control = 0;
  if (IsUnplugged(database, node.key)) return ERROR_SUCCESS;
  const DWORD code = FindChild(database, node.key, MakeKeyName(kControl), &control);
  if (code != ERROR_FILE_NOT_FOUND) return code;
  return InsertKey(database, node.key, MakeKeyName(kControl), true, &control);
}

}  // namespace

DWORD ListDeviceNodes(std::vector<DeviceNode>* nodes) {
  const DWORD code = ReadAt(MachinePath(kEnumKey), [&](Database& database, KeyId root) {
    std::vector<NodeKey> keys;
    const DWORD failed = Collect(database, {u"", root}, kLevels, &keys);
    for (const NodeKey& key : keys) nodes->push_back(ReadNode(database, key));
    return failed;
  });
  return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code;
}

DWORD BootDeviceNodes() {
  return ChangeKeys([](Database& database) {
    KeyId root = 0;
    DWORD code = FindKey(database, MachinePath(kEnumKey), &root);
    if (code == ERROR_FILE_NOT_FOUND) code = MakeDefaultDevice(database, &root);
    std::vector<NodeKey> keys;
    if (code == ERROR_SUCCESS) code = Collect(database, {u"", root}, kLevels, &keys);
    for (const NodeKey& key : keys) {
      if (code == ERROR_SUCCESS) code = MakePresent(database, key);
    }
    return code;
  });
}

}  // namespace host
