// Keys in the databases. Every function runs inside the transaction that its caller has begun.
#pragma once

#include <span>

#include "platform/host/registry/database.h"
#include "platform/host/registry/key_name.h"

namespace host::registry {

// A child by name: ERROR_FILE_NOT_FOUND when there is none.
DWORD FindChild(Database& database, KeyId parent, const KeyName& name, KeyId* child);

// 0, or ERROR_KEY_DELETED when the key is gone.
DWORD CheckKey(Database& database, KeyId key);

// Follows `steps` from `start` as far as they lead: `*key` is the last key found, `*found` the number of steps taken.
// Fails only when the database does.
DWORD FollowPath(Database& database, KeyId start, std::span<const KeyName> steps, KeyId* key, std::size_t* found);

// Makes a key under `parent`, which exists. ERROR_CHILD_MUST_BE_VOLATILE for a lasting key under a volatile one.
DWORD InsertKey(Database& database, KeyId parent, const KeyName& name, bool isVolatile, KeyId* key);

// The name of the subkey at `index`, in the order of upper-cased names; ERROR_NO_MORE_ITEMS past the last.
DWORD SubkeyAt(Database& database, KeyId key, DWORD index, std::u16string* name);

struct SubkeySummary {
  DWORD count = 0;
  DWORD longestName = 0;  // characters
};
DWORD SummarizeSubkeys(Database& database, KeyId key, SubkeySummary* summary);

// Whether the key has subkeys: 0 with the answer, or a code.
DWORD HasSubkeys(Database& database, KeyId key, bool* has);

// Removes an existing key without subkeys, and its values. ERROR_ACCESS_DENIED for the root of a hive and for the keys
// that every registry has.
DWORD RemoveKey(Database& database, KeyId key);

// Removes everything below a key; the key and its values stay. After a failure the transaction has to be undone.
DWORD RemoveSubkeys(Database& database, KeyId key);

}  // namespace host::registry
