#include "platform/host/registry/statement.h"

#include <sqlite3.h>

#include "platform/host/base/error_codes.h"

namespace host::registry {

Statement::~Statement() {
  sqlite3_reset(statement_);
}

Statement& Statement::Bind(std::int64_t number) {
  Note(sqlite3_bind_int64(statement_, ++bound_, number));
  return *this;
}

Statement& Statement::Bind(std::span<const BYTE> bytes) {
  // A null pointer would bind NULL, which is no empty value.
  const void* data = bytes.empty() ? static_cast<const void*>("") : bytes.data();
  Note(sqlite3_bind_blob64(statement_, ++bound_, data, bytes.size(), SQLITE_STATIC));
  return *this;
}

Statement& Statement::BindBytes(std::string_view bytes) {
  return Bind(std::span(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()));
}

Statement& Statement::BindText(std::u16string_view text) {
  const void* data = text.empty() ? u"" : text.data();
  Note(sqlite3_bind_text16(statement_, ++bound_, data, static_cast<int>(text.size() * 2), SQLITE_STATIC));
  return *this;
}

void Statement::Note(int result) {
  if (failure_ == SQLITE_OK) failure_ = result;
}

DWORD Statement::Step() {
  if (failure_ != SQLITE_OK) return CodeOf(failure_);
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return ERROR_SUCCESS;
  return result == SQLITE_DONE ? kNoRow : CodeOf(result);
}

DWORD Statement::Run() {
  const DWORD code = Step();
  return code == kNoRow ? ERROR_SUCCESS : code;
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::u16string Statement::Text(int column) const {
  const auto* text = static_cast<const char16_t*>(sqlite3_column_text16(statement_, column));
  return text ? std::u16string(text, static_cast<std::size_t>(sqlite3_column_bytes16(statement_, column)) / 2)
              : std::u16string();
}

std::span<const BYTE> Statement::Bytes(int column) const {
  const auto* bytes = static_cast<const BYTE*>(sqlite3_column_blob(statement_, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

DWORD CodeOf(int sqliteResult) {
  switch (sqliteResult & 0xFF) {
    case SQLITE_OK:
      return ERROR_SUCCESS;
    case SQLITE_NOMEM:
      return ERROR_OUTOFMEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ERROR_TIMEOUT;
    case SQLITE_TOOBIG:
      return ERROR_NO_SYSTEM_RESOURCES;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_PERM:
    case SQLITE_READONLY:
      return ERROR_ACCESS_DENIED;
    case SQLITE_CANTOPEN:
      return ERROR_CANTOPEN;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_SCHEMA:
      return ERROR_REGISTRY_CORRUPT;
    default:
      return ERROR_REGISTRY_IO_FAILED;
  }
}

}  // namespace host::registry
