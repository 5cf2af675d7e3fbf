// Enumerating values and subkeys, and counting them.
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/registry/key_access.h"
#include "platform/host/registry/registry.h"
#include "platform/host/registry/value_rules.h"

using namespace host::registry;  // NOLINT: the flat calls are thin forms of these functions

namespace {

void Tell(LPDWORD output, DWORD number) {
  if (output) *output = number;
}

}  // namespace

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved, LPDWORD type,
                      LPBYTE data, LPDWORD dataSize) {
  if (const auto injected = host::InjectedFailure("RegEnumValueW")) return Answer(*injected);
  if (!name || !nameLength || reserved || (data && !dataSize)) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  DWORD code = MakeKeyPath(key, nullptr, 0, KEY_QUERY_VALUE, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  NamedValue found;
  code = ReadAt(path, [&](Database& database, KeyId at) { return ValueAt(database, at, index, &found); });
  if (code == ERROR_SUCCESS) code = CopyName(found.name, name, nameLength);
  if (code != ERROR_SUCCESS) return Answer(code);
  Tell(type, found.value.type);
  return Answer(CopyData(found.value.data, data, dataSize));
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved, LPWSTR keyClass,
                      LPDWORD classLength, FILETIME* lastWriteTime) {
  if (const auto injected = host::InjectedFailure("RegEnumKeyExW")) return Answer(*injected);
  if (!name || !nameLength || reserved) return ERROR_INVALID_PARAMETER;
  if (keyClass || classLength) host::Unsupported("RegEnumKeyExW", "keyClass");
  if (lastWriteTime) host::Unsupported("RegEnumKeyExW", "lastWriteTime");
  KeyPath path;
  DWORD code = MakeKeyPath(key, nullptr, 0, KEY_ENUMERATE_SUB_KEYS, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  std::u16string found;
  code = ReadAt(path, [&](Database& database, KeyId at) { return SubkeyAt(database, at, index, &found); });
  return Answer(code == ERROR_SUCCESS ? CopyName(found, name, nameLength) : code);
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD reserved, LPDWORD subKeys,
                         LPDWORD longestSubKey, LPDWORD longestClass, LPDWORD values, LPDWORD longestValueName,
                         LPDWORD longestData, LPDWORD descriptorSize, FILETIME* lastWriteTime) {
  if (const auto injected = host::InjectedFailure("RegQueryInfoKeyW")) return Answer(*injected);
  if (reserved) return ERROR_INVALID_PARAMETER;
  if (keyClass || classLength || longestClass) host::Unsupported("RegQueryInfoKeyW", "keyClass");
  if (descriptorSize) host::Unsupported("RegQueryInfoKeyW", "descriptorSize");
  if (lastWriteTime) host::Unsupported("RegQueryInfoKeyW", "lastWriteTime");
  KeyPath path;
  DWORD code = MakeKeyPath(key, nullptr, 0, KEY_QUERY_VALUE, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  SubkeySummary keySummary;
  ValueSummary valueSummary;
  code = ReadAt(path, [&](Database& database, KeyId at) {
    const DWORD missing = CheckKey(database, at);
    if (missing != ERROR_SUCCESS) return missing;
    const DWORD failed = SummarizeSubkeys(database, at, &keySummary);
    return failed != ERROR_SUCCESS ? failed : SummarizeValues(database, at, &valueSummary);
  });
  if (code != ERROR_SUCCESS) return Answer(code);
  Tell(subKeys, keySummary.count);
  Tell(longestSubKey, keySummary.longestName);
  Tell(values, valueSummary.count);
  Tell(longestValueName, valueSummary.longestName);
  Tell(longestData, valueSummary.longestData);
  return ERROR_SUCCESS;
}
