// The registry's SQL, in the order of enum Query. '@' stands for the database that the statement is about.
#include <array>

#include "platform/host/registry/database.h"

namespace host::registry {
namespace {

// HKEY_USERS is key 2, LocalSystem's hive key 6 (database_schema.h).
#define HKD_SEEN_HIVE "(parent<>2 OR id=6 OR folded IN (SELECT folded FROM vol.hives))"

constexpr std::array<const char*, static_cast<std::size_t>(Query::kCount)> kTexts = {
    "BEGIN",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
    "SELECT id FROM @.keys WHERE parent=?1 AND folded=?2",
    "SELECT 1 FROM @.keys WHERE id=?1",
    "INSERT INTO @.keys(parent, folded, name) VALUES(?1, ?2, ?3)",
    // Never a key that every registry has, never the root of a user hive.
    "DELETE FROM @.keys WHERE id=?1 AND id>6 AND parent<>2",
    "SELECT id FROM @.keys WHERE parent=?1 LIMIT 1",
    // Both databases at once: names are unique over the two. Of the user hives only the loaded ones are seen.
    "SELECT name, folded FROM main.keys WHERE parent=?1 AND " HKD_SEEN_HIVE
    " UNION ALL SELECT name, folded FROM vol.keys WHERE parent=?1 ORDER BY folded LIMIT 1 OFFSET ?2",
    "SELECT count(*), coalesce(max(length(folded)), 0) / 2 FROM ("
    "SELECT folded FROM main.keys WHERE parent=?1 AND " HKD_SEEN_HIVE
    " UNION ALL SELECT folded FROM vol.keys WHERE parent=?1)",
    "SELECT type, data FROM @.entries WHERE key=?1 AND folded=?2",
    // Writes nothing when the key is gone.
    "INSERT INTO @.entries(key, folded, name, type, data) "
    "SELECT ?1, ?2, ?3, ?4, ?5 FROM @.keys WHERE id=?1 "
    "ON CONFLICT(key, folded) DO UPDATE SET type=excluded.type, data=excluded.data",
    "DELETE FROM @.entries WHERE key=?1 AND folded=?2",
    "DELETE FROM @.entries WHERE key=?1",
    "SELECT name, type, data FROM @.entries WHERE key=?1 ORDER BY id LIMIT 1 OFFSET ?2",
    "SELECT count(*), coalesce(max(length(folded)), 0) / 2, coalesce(max(length(data)), 0) FROM @.entries WHERE key=?1",
    "SELECT 1 FROM vol.hives WHERE folded=?1",
    "INSERT OR IGNORE INTO vol.hives(folded) VALUES(?1)",
    "DELETE FROM vol.hives WHERE folded=?1",
};

#undef HKD_SEEN_HIVE

}  // namespace

const char* QueryText(Query query) {
  return kTexts[static_cast<std::size_t>(query)];
}

}  // namespace host::registry
