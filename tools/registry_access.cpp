#include "tools/registry_access.h"

#include "platform/host/base/error_codes.h"

namespace tool {
namespace {

constexpr std::size_t kLongestValueName = 16384;  // with the terminator
constexpr std::size_t kLongestKeyName = 256;

}  // namespace

RegistryKey::~RegistryKey() {
  if (key_ != nullptr) RegCloseKey(key_);
}

LSTATUS RegistryKey::Open(const RegistryPath& path, REGSAM access) {
  return RegOpenKeyExW(path.root, path.subKey.c_str(), 0, access, &key_);
}

LSTATUS RegistryKey::Create(const RegistryPath& path, REGSAM access, bool isVolatile) {
  const DWORD options = isVolatile ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE;
  return RegCreateKeyExW(path.root, path.subKey.c_str(), 0, nullptr, options, access, nullptr, &key_, nullptr);
}

LSTATUS RegistryKey::Read(const WideString& name, RegistryValue* value) const {
  // The value may grow between the two calls.
  LSTATUS status = ERROR_MORE_DATA;
  DWORD size = 0;
  while (status == ERROR_MORE_DATA) {
    value->data.resize(size);
    status =
        RegQueryValueExW(key_, name.c_str(), nullptr, &value->type, size == 0 ? nullptr : value->data.data(), &size);
    if (status == ERROR_SUCCESS && size > value->data.size()) status = ERROR_MORE_DATA;
  }
  value->data.resize(status == ERROR_SUCCESS ? size : 0);
  return status;
}

LSTATUS RegistryKey::Write(const WideString& name, const RegistryValue& value) const {
  return RegSetValueExW(key_, name.c_str(), 0, value.type, value.data.data(), static_cast<DWORD>(value.data.size()));
}

LSTATUS RegistryKey::DeleteValue(const WideString& name) const {
  return RegDeleteValueW(key_, name.c_str());
}

LSTATUS RegistryKey::DeleteEverything() const {
  return RegDeleteTreeW(key_, nullptr);
}

LSTATUS RegistryKey::ReadAll(std::vector<Named>* values) const {
  for (DWORD index = 0;; ++index) {
    WideString name(kLongestValueName, 0);
    auto length = static_cast<DWORD>(name.size());
    LSTATUS status = RegEnumValueW(key_, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    name.resize(length);
    Named& value = values->emplace_back();
    value.name = name;
    status = Read(name, &value.value);
    if (status != ERROR_SUCCESS) return status;
  }
}

LSTATUS RegistryKey::SubKeys(std::vector<WideString>* names) const {
  for (DWORD index = 0;; ++index) {
    WideString name(kLongestKeyName, 0);
    auto length = static_cast<DWORD>(name.size());
    const LSTATUS status = RegEnumKeyExW(key_, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    name.resize(length);
    names->push_back(name);
  }
}

}  // namespace tool
