// One connection to the registry's databases: lasting keys as `main`, volatile ones as `vol`.
//
// Used by one thread at a time. A read call is one read transaction, a write call one that takes the write locks of
// both databases at its beginning, in that order; changes of single values are single statements, which need only their
// own database. Waiting for a lock gives up after kBusyLimit with ERROR_TIMEOUT.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <optional>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/types.h"
#include "platform/host/registry/database_schema.h"
#include "platform/host/registry/known_keys.h"
#include "platform/host/registry/state_mark.h"
#include "platform/host/registry/statement.h"

struct sqlite3;

namespace host::registry {

inline constexpr std::chrono::seconds kBusyLimit{30};

// The prepared statements; the texts stand in database_queries.cpp in the same order.
enum class Query : unsigned {
  kBegin,
  kBeginWrite,
  kCommit,
  kRollback,
  kFindKey,
  kKeyExists,
  kInsertKey,
  kDeleteKey,
  kAnySubkey,
  kSubkeyAt,
  kSubkeySummary,
  kReadValue,
  kWriteValue,
  kDeleteValue,
  kDeleteValues,
  kValueAt,
  kValueSummary,
  kHiveLoaded,
  kLoadHive,
  kUnloadHive,
  kCount
};

// Which of the two databases a statement is about.
enum class Store : unsigned { kLasting, kVolatile };
constexpr Store StoreOf(KeyId key) {
  return IsVolatile(key) ? Store::kVolatile : Store::kLasting;
}

// The text of a query, with '@' where the database's name goes.
const char* QueryText(Query query);

class Database {
 public:
  // Opens both databases, makes them where they are missing. Null with a Win32 code in `code`.
  static std::unique_ptr<Database> Open(const MachineDirectory& directory, DWORD* code);

  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // A statement, prepared once and kept. The use must end before the same statement is used again.
  Statement Use(Query query, Store store = Store::kLasting);

  // Runs statements that are not kept: 0 or a Win32 code.
  DWORD Execute(const std::string& sql);

  // Rows that the last statement changed, and the number of the row it inserted.
  int Changes() const;
  KeyId LastInserted() const;

  // The state that both databases are in, when it can be told.
  std::optional<StateMark> Mark() const { return states_.Mark(); }
  KnownKeys& Known() { return known_; }

 private:
  explicit Database(sqlite3* handle) : handle_(handle) {}
  DWORD Attach(const MachineDirectory& directory);
  DWORD SwitchToWriteAheadLog();
  DWORD CreateTables();
  std::int64_t SchemaVersion(Store store);

  sqlite3* handle_;
  StateView states_;
  KnownKeys known_;
  std::array<std::array<sqlite3_stmt*, static_cast<std::size_t>(Query::kCount)>, 2> statements_{};
};

// A read transaction: what is read inside it is one state. Ends with the scope.
class ReadScope {
 public:
  explicit ReadScope(Database& database) : database_(database) { database_.Use(Query::kBegin).Run(); }
  ~ReadScope() { database_.Use(Query::kCommit).Run(); }
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;

 private:
  Database& database_;
};

// A write transaction, undone unless Commit succeeds. Status is 0 when it has begun.
class WriteScope {
 public:
  explicit WriteScope(Database& database) : database_(database), status_(database.Use(Query::kBeginWrite).Run()) {}
  ~WriteScope();
  WriteScope(const WriteScope&) = delete;
  WriteScope& operator=(const WriteScope&) = delete;

  DWORD Status() const { return status_; }
  DWORD Commit();

 private:
  Database& database_;
  DWORD status_;
  bool committed_ = false;
};

}  // namespace host::registry
