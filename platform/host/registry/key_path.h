// Where a call's key lies: the key it starts from, and the steps from there.
#pragma once

#include "platform/host/registry/key_handles.h"
#include "platform/host/registry/key_store.h"

namespace host::registry {

struct KeyPath {
  KeyId start = 0;
  std::vector<KeyName> steps;
};

// The path that `handle` and `subKey` name, in the view that the KEY_WOW64_ flags of `access` choose. `rights` are what
// the handle must have. ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED, ERROR_INVALID_PARAMETER (both views at once, a step
// too long) or ERROR_BAD_PATHNAME. Needs no database.
DWORD MakeKeyPath(HKEY handle, const char16_t* subKey, REGSAM access, REGSAM rights, KeyPath* path);

// Different for different paths.
std::string PathId(const KeyPath& path);

// Checks that the user hive the path leads through, if any, is loaded.
DWORD CheckPathHive(Database& database, const KeyPath& path);

// The key at the end of the path: ERROR_FILE_NOT_FOUND when a step is missing. Without steps the key is not looked up.
// Several steps need a transaction around the call.
DWORD FindKey(Database& database, const KeyPath& path, KeyId* key);

// The key at the end of the path, with every missing key before it made; `created` (may be null) tells whether one was.
// Needs a write transaction around the call.
DWORD CreatePath(Database& database, const KeyPath& path, bool isVolatile, KeyId* key, bool* created);

}  // namespace host::registry
