#include "platform/host/registry/key_store.h"

#include <vector>

#include "platform/host/base/error_codes.h"

namespace host::registry {
namespace {

DWORD FindChildIn(Database& database, Store store, KeyId parent, const KeyName& name, KeyId* child) {
  Statement statement = database.Use(Query::kFindKey, store);
  const DWORD code = statement.Bind(parent).BindBytes(name.folded).Step();
  if (code == ERROR_SUCCESS) *child = statement.Number(0);
  return code;
}

DWORD AnyChildIn(Database& database, Store store, KeyId parent, KeyId* child) {
  Statement statement = database.Use(Query::kAnySubkey, store);
  const DWORD code = statement.Bind(parent).Step();
  if (code == ERROR_SUCCESS) *child = statement.Number(0);
  return code;
}

// Some child of the key, kNoRow when there is none.
DWORD AnyChild(Database& database, KeyId parent, KeyId* child) {
  DWORD code = AnyChildIn(database, Store::kVolatile, parent, child);
  if (code == kNoRow && !IsVolatile(parent)) code = AnyChildIn(database, Store::kLasting, parent, child);
  return code;
}

}  // namespace

DWORD FindChild(Database& database, KeyId parent, const KeyName& name, KeyId* child) {
  DWORD code = kNoRow;
  if (!IsVolatile(parent)) code = FindChildIn(database, Store::kLasting, parent, name, child);
  if (code == kNoRow) code = FindChildIn(database, Store::kVolatile, parent, name, child);
  return code == kNoRow ? ERROR_FILE_NOT_FOUND : code;
}

DWORD CheckKey(Database& database, KeyId key) {
  const DWORD code = database.Use(Query::kKeyExists, StoreOf(key)).Bind(key).Step();
  return code == kNoRow ? ERROR_KEY_DELETED : code;
}

DWORD FollowPath(Database& database, KeyId start, std::span<const KeyName> steps, KeyId* key, std::size_t* found) {
  *key = start;
  for (*found = 0; *found < steps.size(); ++*found) {
    const DWORD code = FindChild(database, *key, steps[*found], key);
    if (code == ERROR_FILE_NOT_FOUND) break;
    if (code != ERROR_SUCCESS) return code;
  }
  // Whatever has a child exists; a path that led nowhere says nothing of its start.
  return *found == 0 ? CheckKey(database, start) : ERROR_SUCCESS;
}

DWORD InsertKey(Database& database, KeyId parent, const KeyName& name, bool isVolatile, KeyId* key) {
  if (IsVolatile(parent) && !isVolatile) return ERROR_CHILD_MUST_BE_VOLATILE;
  const Store store = isVolatile ? Store::kVolatile : Store::kLasting;
  const DWORD code =
      database.Use(Query::kInsertKey, store).Bind(parent).BindBytes(name.folded).BindText(name.text).Run();
  if (code == ERROR_SUCCESS) *key = database.LastInserted();
  return code;
}

DWORD SubkeyAt(Database& database, KeyId key, DWORD index, std::u16string* name) {
  {
    Statement row = database.Use(Query::kSubkeyAt);
    const DWORD code = row.Bind(key).Bind(std::int64_t{index}).Step();
    if (code == ERROR_SUCCESS) *name = row.Text(0);
    if (code != kNoRow) return code;
  }
  const DWORD code = CheckKey(database, key);
  return code == ERROR_SUCCESS ? ERROR_NO_MORE_ITEMS : code;
}

DWORD SummarizeSubkeys(Database& database, KeyId key, SubkeySummary* summary) {
  Statement row = database.Use(Query::kSubkeySummary);
  const DWORD code = row.Bind(key).Step();
  if (code != ERROR_SUCCESS) return code;
  summary->count = static_cast<DWORD>(row.Number(0));
  summary->longestName = static_cast<DWORD>(row.Number(1));
  return ERROR_SUCCESS;
}

DWORD HasSubkeys(Database& database, KeyId key, bool* has) {
  KeyId child = 0;
  const DWORD code = AnyChild(database, key, &child);
  *has = code == ERROR_SUCCESS;
  return code == kNoRow ? ERROR_SUCCESS : code;
}

DWORD RemoveKey(Database& database, KeyId key) {
  const DWORD code = database.Use(Query::kDeleteKey, StoreOf(key)).Bind(key).Run();
  if (code != ERROR_SUCCESS) return code;
  if (database.Changes() == 0) return ERROR_ACCESS_DENIED;
  return database.Use(Query::kDeleteValues, StoreOf(key)).Bind(key).Run();
}

DWORD RemoveSubkeys(Database& database, KeyId key) {
  // Down to a key without children, which goes, and back up: no deeper than the path is long.
  std::vector<KeyId> path{key};
  for (;;) {
    KeyId child = 0;
    DWORD code = AnyChild(database, path.back(), &child);
    if (code == ERROR_SUCCESS) {
      path.push_back(child);
      continue;
    }
    if (code != kNoRow) return code;
    if (path.size() == 1) return ERROR_SUCCESS;
    code = RemoveKey(database, path.back());
    if (code != ERROR_SUCCESS) return code;
    path.pop_back();
  }
}

}  // namespace host::registry
