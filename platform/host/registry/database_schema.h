// The two databases of the registry: their tables, and the keys that are there from the start.
#pragma once

#include <cstdint>

namespace host::registry {

using KeyId = std::int64_t;

// Keys that every registry has. Software of HKEY_LOCAL_MACHINE and its 32-bit side have fixed numbers because the views
// are built on them.
inline constexpr KeyId kMachineRoot = 1;
inline constexpr KeyId kUsersRoot = 2;
inline constexpr KeyId kSoftwareKey = 3;
inline constexpr KeyId kSoftware32Key = 4;
inline constexpr KeyId kLastFixedKey = 6;

// Numbers of keys are never used twice, in neither database and over no boot: a handle to a key that is gone can
// never reach another one. Volatile keys are told by their range.
inline constexpr KeyId kFirstVolatileKey = KeyId{1} << 60;
constexpr bool IsVolatile(KeyId key) {
  return key >= kFirstVolatileKey;
}

inline constexpr int kSchemaVersion = 1;

// `folded` is the upper-cased name as big-endian UTF-16: equal for names that differ in case only, ordered by code
// unit. A value keeps its row, and with it its place in an enumeration, when it is written again.
inline constexpr const char* kTables = R"sql(
CREATE TABLE @.keys(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  parent INTEGER NOT NULL,
  folded BLOB NOT NULL,
  name TEXT NOT NULL,
  UNIQUE(parent, folded));
CREATE TABLE @.entries(
  id INTEGER PRIMARY KEY,
  key INTEGER NOT NULL,
  folded BLOB NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  UNIQUE(key, folded));
CREATE INDEX @.entries_in_order ON entries(key, id);
)sql";

inline constexpr const char* kHiveTable = "CREATE TABLE vol.hives(folded BLOB PRIMARY KEY) WITHOUT ROWID;";

}  // namespace host::registry
