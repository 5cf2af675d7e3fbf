// Reading, writing and deleting values.
#include <cstring>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/registry/key_access.h"
#include "platform/host/registry/registry.h"
#include "platform/host/registry/value_rules.h"

namespace host::registry {
namespace {

DWORD ReadNamed(const KeyPath& path, LPCWSTR name, StoredValue* value) {
  KeyName valueName;
  if (!MakeValueName(name, &valueName)) return ERROR_FILE_NOT_FOUND;
  return ReadAt(path, [&](Database& database, KeyId key) { return ReadValue(database, key, valueName, value); });
}

// Where RegGetValueW looks: the rights of the handle count only when there is no subkey to be opened.
DWORD MakeValuePath(HKEY key, LPCWSTR subKey, DWORD flags, KeyPath* path) {
  const bool ownValue = !subKey || !*subKey;
  REGSAM view = 0;
  if (flags & RRF_SUBKEY_WOW6464KEY) view |= KEY_WOW64_64KEY;
  if (flags & RRF_SUBKEY_WOW6432KEY) view |= KEY_WOW64_32KEY;
  return MakeKeyPath(key, subKey, view, ownValue ? KEY_QUERY_VALUE : 0, path);
}

bool FlagsMakeSense(DWORD flags) {
  const DWORD types = flags & RRF_RT_ANY;
  if (types == 0) Unsupported("RegGetValueW", "flags without a type");
  // An expandable string cannot be asked for as such while it is to be expanded.
  return types == RRF_RT_ANY || !(types & RRF_RT_REG_EXPAND_SZ) || (flags & RRF_NOEXPAND);
}

// The filters that admit binary data as a number ask for the number's size.
bool SizeAllowed(const StoredValue& value, DWORD flags) {
  const DWORD types = flags & RRF_RT_ANY;
  if (types == RRF_RT_DWORD) return value.data.size() == sizeof(DWORD);
  if (types == RRF_RT_QWORD) return value.data.size() == sizeof(DWORD64);
  return true;
}

DWORD HandOut(StoredValue* value, DWORD flags, LPDWORD type, PVOID data, LPDWORD dataSize) {
  if (value->type == REG_EXPAND_SZ && !(flags & RRF_NOEXPAND)) ExpandEnvironment(value);
  if (type) *type = value->type;
  if (!TypeAllowed(value->type, flags)) return ERROR_UNSUPPORTED_TYPE;
  if (!SizeAllowed(*value, flags)) return ERROR_DATATYPE_MISMATCH;
  Terminate(value);
  return CopyData(value->data, data, dataSize);
}

DWORD GetValue(HKEY key, LPCWSTR subKey, LPCWSTR name, DWORD flags, LPDWORD type, PVOID data, LPDWORD dataSize) {
  if ((data && !dataSize) || !FlagsMakeSense(flags)) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  DWORD code = MakeValuePath(key, subKey, flags, &path);
  StoredValue value;
  if (code == ERROR_SUCCESS) code = ReadNamed(path, name, &value);
  return code == ERROR_SUCCESS ? HandOut(&value, flags, type, data, dataSize) : code;
}

}  // namespace
}  // namespace host::registry

using namespace host::registry;  // NOLINT: the flat calls are thin forms of the functions above

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD dataSize) {
  if (const auto injected = host::InjectedFailure("RegQueryValueExW")) return Answer(*injected);
  if (reserved || (data && !dataSize)) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  DWORD code = MakeKeyPath(key, nullptr, 0, KEY_QUERY_VALUE, &path);
  StoredValue value;
  if (code == ERROR_SUCCESS) code = ReadNamed(path, name, &value);
  if (code != ERROR_SUCCESS) return Answer(code);
  if (type) *type = value.type;
  return Answer(CopyData(value.data, data, dataSize));
}

LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR name, DWORD flags, LPDWORD type, PVOID data, LPDWORD dataSize) {
  const DWORD capacity = data && dataSize ? *dataSize : 0;
  const auto injected = host::InjectedFailure("RegGetValueW");
  const DWORD code = injected ? *injected : GetValue(key, subKey, name, flags, type, data, dataSize);
  if (code != ERROR_SUCCESS && (flags & RRF_ZEROONFAILURE) && capacity != 0) std::memset(data, 0, capacity);
  return Answer(code);
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD dataSize) {
  if (const auto injected = host::InjectedFailure("RegSetValueExW")) return Answer(*injected);
  KeyName valueName;
  if (reserved != 0 || (!data && dataSize != 0) || !MakeValueName(name, &valueName)) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  const DWORD code = MakeKeyPath(key, nullptr, 0, KEY_SET_VALUE, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  return Answer(ChangeValueAt(path, [&](Database& database, KeyId found) {
    return WriteValue(database, found, valueName, type, std::span(data, dataSize));
  }));
}

LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR name, DWORD type, LPCVOID data, DWORD dataSize) {
  if (const auto injected = host::InjectedFailure("RegSetKeyValueW")) return Answer(*injected);
  KeyName valueName;
  if ((!data && dataSize != 0) || !MakeValueName(name, &valueName)) return ERROR_INVALID_PARAMETER;
  const bool ownValue = !subKey || !*subKey;
  KeyPath path;
  const DWORD code = MakeKeyPath(key, subKey, 0, ownValue ? KEY_SET_VALUE : 0, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  return Answer(ChangeKeys([&](Database& database) {
    KeyId target = 0;
    const DWORD created = CreatePath(database, path, false, &target, nullptr);
    if (created != ERROR_SUCCESS) return created;
    return WriteValue(database, target, valueName, type, std::span(static_cast<const BYTE*>(data), dataSize));
  }));
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
  if (const auto injected = host::InjectedFailure("RegDeleteValueW")) return Answer(*injected);
  KeyName valueName;
  if (!MakeValueName(name, &valueName)) return ERROR_FILE_NOT_FOUND;
  KeyPath path;
  const DWORD code = MakeKeyPath(key, nullptr, 0, KEY_SET_VALUE, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  return Answer(
      ChangeValueAt(path, [&](Database& database, KeyId found) { return DeleteValue(database, found, valueName); }));
}
