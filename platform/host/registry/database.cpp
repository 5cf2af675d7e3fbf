#include "platform/host/registry/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <string_view>
#include <thread>

#include "platform/host/base/error_codes.h"
#include "platform/host/registry/key_name.h"

namespace host::registry {
namespace {

constexpr const char* kStoreNames[] = {"main", "vol"};

std::string ForStore(std::string_view text, Store store) {
  std::string sql;
  for (const char letter : text) {
    if (letter == '@') {
      sql += kStoreNames[static_cast<unsigned>(store)];
    } else {
      sql += letter;
    }
  }
  return sql;
}

// Waits a little longer each time, from 20 microseconds up to 2 milliseconds, so that a short write is not slept
// through.
int WaitWhileBusy(void* /*context*/, int tries) {
  using std::chrono::microseconds;
  const microseconds pause(std::min(20 << std::min(tries, 7), 2000));
  const auto worstTries = std::chrono::microseconds(kBusyLimit) / microseconds(2000);
  if (tries > worstTries) return 0;
  std::this_thread::sleep_for(pause);
  return 1;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char letter : text) quoted.append(letter == '\'' ? 2 : 1, letter);
  return quoted + "'";
}

// A number above all that earlier boots can have used: the time counts on faster than keys are made.
KeyId FreshVolatileKey() {
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return kFirstVolatileKey + (static_cast<KeyId>(duration_cast<microseconds>(now).count()) << 8);
}

std::string InsertFixedKey(KeyId id, KeyId parent, std::u16string_view name) {
  const KeyName keyName = MakeKeyName(name);
  std::string hex;
  for (const char byte : keyName.folded) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    hex += kDigits[static_cast<unsigned char>(byte) >> 4];
    hex += kDigits[byte & 15];
  }
  return "INSERT INTO main.keys VALUES(" + std::to_string(id) + "," + std::to_string(parent) + ",x'" + hex + "'," +
         Quoted(std::string(name.begin(), name.end())) + ");";
}

std::string LastingTables() {
  return ForStore(kTables, Store::kLasting) + InsertFixedKey(kMachineRoot, 0, u"MACHINE") +
         InsertFixedKey(kUsersRoot, 0, u"USERS") + InsertFixedKey(kSoftwareKey, kMachineRoot, u"SOFTWARE") +
         InsertFixedKey(kSoftware32Key, kSoftwareKey, u"WOW6432Node") + InsertFixedKey(5, kMachineRoot, u"SYSTEM") +
         InsertFixedKey(kLastFixedKey, kUsersRoot, u"S-1-5-18");
}

std::string VolatileTables() {
  return ForStore(kTables, Store::kVolatile) + kHiveTable +
         "INSERT INTO vol.sqlite_sequence(name, seq) VALUES('keys'," + std::to_string(FreshVolatileKey()) + ");";
}

}  // namespace

std::unique_ptr<Database> Database::Open(const MachineDirectory& directory, DWORD* code) {
  sqlite3* handle = nullptr;
  const std::string path = directory.state + "/registry.db";
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path.c_str(), &handle, kFlags, nullptr);
  std::unique_ptr<Database> database(new Database(handle));
  *code = CodeOf(result);
  if (*code == ERROR_SUCCESS) *code = database->Attach(directory);
  if (*code == ERROR_SUCCESS) *code = database->CreateTables();
  if (*code != ERROR_SUCCESS) {
    database.reset();
  } else {
    database->states_ = StateView::Of(handle);
  }
  return database;
}

Database::~Database() {
  for (auto& store : statements_) {
    for (sqlite3_stmt* statement : store) sqlite3_finalize(statement);
  }
  sqlite3_close(handle_);
}

DWORD Database::Attach(const MachineDirectory& directory) {
  sqlite3_extended_result_codes(handle_, 1);
  sqlite3_busy_handler(handle_, WaitWhileBusy, nullptr);
  DWORD code =
      Execute("PRAGMA encoding='UTF-16le'; ATTACH " + Quoted(directory.runtime + "/registry-volatile.db") + " AS vol;");
  if (code == ERROR_SUCCESS) code = SwitchToWriteAheadLog();
  if (code == ERROR_SUCCESS) code = Execute("PRAGMA main.synchronous=NORMAL; PRAGMA vol.synchronous=NORMAL;");
  return code;
}

// Several processes may be switching a new file over at once, and the switch does not wait for a lock by itself.
DWORD Database::SwitchToWriteAheadLog() {
  const auto deadline = std::chrono::steady_clock::now() + kBusyLimit;
  for (;;) {
    const DWORD code = Execute("PRAGMA main.journal_mode=WAL; PRAGMA vol.journal_mode=WAL;");
    if (code != ERROR_TIMEOUT || std::chrono::steady_clock::now() >= deadline) return code;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::int64_t Database::SchemaVersion(Store store) {
  sqlite3_stmt* raw = nullptr;
  const std::string sql = ForStore("PRAGMA @.user_version", store);
  if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) return -1;
  const std::int64_t version = sqlite3_step(raw) == SQLITE_ROW ? sqlite3_column_int64(raw, 0) : -1;
  sqlite3_finalize(raw);
  return version;
}

DWORD Database::CreateTables() {
  if (SchemaVersion(Store::kLasting) == kSchemaVersion && SchemaVersion(Store::kVolatile) == kSchemaVersion) {
    return ERROR_SUCCESS;
  }
  WriteScope scope(*this);
  if (scope.Status() != ERROR_SUCCESS) return scope.Status();
  for (const Store store : {Store::kLasting, Store::kVolatile}) {
    const std::int64_t version = SchemaVersion(store);
    if (version == kSchemaVersion) continue;
    if (version != 0) return ERROR_REGISTRY_CORRUPT;
    const std::string tables = store == Store::kLasting ? LastingTables() : VolatileTables();
    const DWORD code = Execute(tables + ForStore("PRAGMA @.user_version=1;", store));
    if (code != ERROR_SUCCESS) return code;
  }
  return scope.Commit();
}

Statement Database::Use(Query query, Store store) {
  sqlite3_stmt*& statement = statements_[static_cast<unsigned>(store)][static_cast<std::size_t>(query)];
  if (!statement) {
    const std::string sql = ForStore(QueryText(query), store);
    sqlite3_prepare_v3(handle_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  }
  return Statement(statement);
}

DWORD Database::Execute(const std::string& sql) {
  return CodeOf(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr));
}

int Database::Changes() const {
  return sqlite3_changes(handle_);
}

KeyId Database::LastInserted() const {
  return sqlite3_last_insert_rowid(handle_);
}

WriteScope::~WriteScope() {
  if (status_ == ERROR_SUCCESS && !committed_) database_.Use(Query::kRollback).Run();
}

DWORD WriteScope::Commit() {
  const DWORD code = database_.Use(Query::kCommit).Run();
  committed_ = code == ERROR_SUCCESS;
  return code;
}

}  // namespace host::registry
