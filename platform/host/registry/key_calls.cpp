// Opening, creating and closing keys.
#include <optional>
#include <utility>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/registry/key_access.h"
#include "platform/host/registry/registry.h"

namespace host::registry {
namespace {

// The key itself, for a path without steps.
DWORD FindStart(const KeyPath& path, KeyId* key) {
  *key = path.start;
  return ReadAt(path, CheckKey);
}

DWORD Follow(Database& database, const KeyPath& path, KeyId* key) {
  const ReadScope scope(database);
  return FindKey(database, path, key);
}

// As Follow. Asks the databases only when they have changed since the same path was followed last.
DWORD FollowKnown(Database& database, const KeyPath& path, KeyId* key) {
  const std::optional<StateMark> before = database.Mark();
  if (!before) return Follow(database, path, key);
  std::string id = PathId(path);
  if (const KnownKeys::Answer* known = database.Known().Find(*before, id)) {
    *key = known->key;
    return known->code;
  }
  const DWORD code = Follow(database, path, key);
  const bool lasting = code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND;
  if (lasting && database.Mark() == before) database.Known().Keep(*before, std::move(id), {code, *key});
  return code;
}

// The existing key at the end of the path.
DWORD FindExisting(const KeyPath& path, KeyId* key) {
  if (path.steps.empty()) return FindStart(path, key);
  const BorrowedDatabase database;
  return database.Status() == ERROR_SUCCESS ? FollowKnown(*database, path, key) : database.Status();
}

void RefuseUnsupported(LPCWSTR keyClass, DWORD options, const SECURITY_ATTRIBUTES* attributes) {
  if (keyClass && *keyClass) Unsupported("RegCreateKeyExW", "keyClass");
  if ((options & ~REG_OPTION_VOLATILE) != 0) Unsupported("RegCreateKeyExW", "options");
  if (attributes && attributes->lpSecurityDescriptor) Unsupported("RegCreateKeyExW", "attributes");
}

DWORD OpenOrCreate(const KeyPath& path, bool isVolatile, KeyId* key, bool* created) {
  // Most keys are there already; only a missing one is worth the write locks.
  *created = false;
  const DWORD code = FindExisting(path, key);
  if (code != ERROR_FILE_NOT_FOUND) return code;
  return ChangeKeys([&](Database& database) { return CreatePath(database, path, isVolatile, key, created); });
}

}  // namespace
}  // namespace host::registry

using namespace host::registry;  // NOLINT: the flat calls are thin forms of the functions above

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  if (const auto injected = host::InjectedFailure("RegOpenKeyExW")) return Answer(*injected);
  if (!result) return ERROR_INVALID_PARAMETER;
  if (options != 0) host::Unsupported("RegOpenKeyExW", "options");
  KeyPath path;
  DWORD code = MakeKeyPath(key, subKey, access, 0, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  if ((!subKey || !*subKey) && FindKeyHandle(key)->predefined) {
    *result = key;
    return ERROR_SUCCESS;
  }
  KeyId found = 0;
  code = FindExisting(path, &found);
  if (code == ERROR_SUCCESS) *result = OpenKeyHandle(found, access);
  return Answer(code);
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                        const SECURITY_ATTRIBUTES* attributes, PHKEY result, LPDWORD disposition) {
  if (const auto injected = host::InjectedFailure("RegCreateKeyExW")) return Answer(*injected);
  if (!result || !subKey || reserved != 0) return ERROR_INVALID_PARAMETER;
  RefuseUnsupported(keyClass, options, attributes);
  KeyPath path;
  DWORD code = MakeKeyPath(key, subKey, access, 0, &path);
  if (code != ERROR_SUCCESS) return Answer(code);
  KeyId found = 0;
  bool created = false;
  code = OpenOrCreate(path, (options & REG_OPTION_VOLATILE) != 0, &found, &created);
  if (code != ERROR_SUCCESS) return Answer(code);
  *result = OpenKeyHandle(found, access);
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key) {
  if (const auto injected = host::InjectedFailure("RegCloseKey")) return Answer(*injected);
  const auto handle = FindKeyHandle(key);
  if (handle && handle->predefined) return ERROR_SUCCESS;
  return CloseKeyHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
