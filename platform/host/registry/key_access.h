// What the flat calls have in common: find the call's key in a borrowed database, then act on it.
#pragma once

#include <optional>

#include "platform/host/base/error_codes.h"
#include "platform/host/registry/connection_pool.h"
#include "platform/host/registry/key_path.h"

namespace host::registry {

// Runs `action(database, key)` on the key at the end of `path`, all reading the same state.
template <typename Action>
DWORD ReadAt(const KeyPath& path, Action action) {
  const BorrowedDatabase database;
  if (database.Status() != ERROR_SUCCESS) return database.Status();
  std::optional<ReadScope> scope;
  if (!path.steps.empty()) scope.emplace(*database);
  KeyId key = 0;
  const DWORD code = FindKey(*database, path, &key);
  return code == ERROR_SUCCESS ? action(*database, key) : code;
}

// Runs `action(database, key)`, which is to be a single statement: no transaction is begun.
template <typename Action>
DWORD ChangeValueAt(const KeyPath& path, Action action) {
  const BorrowedDatabase database;
  if (database.Status() != ERROR_SUCCESS) return database.Status();
  KeyId key = 0;
  const DWORD code = FindKey(*database, path, &key);
  return code == ERROR_SUCCESS ? action(*database, key) : code;
}

// Runs `action(database)` in a write transaction, which is kept when it answers 0 and undone otherwise.
template <typename Action>
DWORD ChangeKeys(Action action) {
  const BorrowedDatabase database;
  if (database.Status() != ERROR_SUCCESS) return database.Status();
  WriteScope scope(*database);
  if (scope.Status() != ERROR_SUCCESS) return scope.Status();
  const DWORD code = action(*database);
  return code == ERROR_SUCCESS ? scope.Commit() : code;
}

// The flat calls answer codes as signed numbers.
inline LSTATUS Answer(DWORD code) {
  return static_cast<LSTATUS>(code);
}

}  // namespace host::registry
