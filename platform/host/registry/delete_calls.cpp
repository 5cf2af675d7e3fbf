// Deleting keys.
#include "platform/host/base/fault_injection.h"
#include "platform/host/registry/key_access.h"
#include "platform/host/registry/registry.h"
#include "platform/host/registry/value_store.h"

namespace host::registry {
namespace {

// The key at the end of the path, made sure of.
DWORD FindForDeletion(Database& database, const KeyPath& path, KeyId* key) {
  const DWORD code = FindKey(database, path, key);
  return code == ERROR_SUCCESS ? CheckKey(database, *key) : code;
}

DWORD DeleteLeaf(Database& database, const KeyPath& path) {
  KeyId key = 0;
  DWORD code = FindForDeletion(database, path, &key);
  bool hasSubkeys = false;
  if (code == ERROR_SUCCESS) code = HasSubkeys(database, key, &hasSubkeys);
  if (code != ERROR_SUCCESS) return code;
  return hasSubkeys ? ERROR_ACCESS_DENIED : RemoveKey(database, key);
}

DWORD DeleteTree(Database& database, const KeyPath& path, bool withRoot) {
  KeyId key = 0;
  DWORD code = FindForDeletion(database, path, &key);
  if (code == ERROR_SUCCESS) code = RemoveSubkeys(database, key);
  if (code != ERROR_SUCCESS) return code;
  return withRoot ? RemoveKey(database, key) : DeleteValues(database, key);
}

}  // namespace
}  // namespace host::registry

using namespace host::registry;  // NOLINT: the flat calls are thin forms of the functions above

LSTATUS RegDeleteKeyExW(HKEY key, LPCWSTR subKey, REGSAM view, DWORD reserved) {
  if (const auto injected = host::InjectedFailure("RegDeleteKeyExW")) return Answer(*injected);
  if (!subKey || reserved != 0) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  const DWORD code = MakeKeyPath(key, subKey, view, 0, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  return Answer(ChangeKeys([&](Database& database) { return DeleteLeaf(database, path); }));
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
  if (const auto injected = host::InjectedFailure("RegDeleteKeyW")) return Answer(*injected);
  return RegDeleteKeyExW(key, subKey, 0, 0);
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey) {
  if (const auto injected = host::InjectedFailure("RegDeleteTreeW")) return Answer(*injected);
  const bool withRoot = subKey && *subKey;
  const REGSAM rights = DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE | (withRoot ? 0 : KEY_SET_VALUE);
  KeyPath path;
  const DWORD code = MakeKeyPath(key, subKey, 0, rights, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  return Answer(ChangeKeys([&](Database& database) { return DeleteTree(database, path, withRoot); }));
}
