// One use of a prepared statement: bind, step, read columns. The statement is reset when the use ends.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/host/base/types.h"

struct sqlite3_stmt;

namespace host::registry {

// What Step answers when there is no (further) row. Every other code but 0 is a failure of the database.
inline constexpr DWORD kNoRow = 0xFFFFFFFFu;

class Statement {
 public:
  explicit Statement(sqlite3_stmt* statement) : statement_(statement) {}
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Binds the next parameter. Bytes and text must outlive the use.
  Statement& Bind(std::int64_t number);
  Statement& Bind(std::span<const BYTE> bytes);
  Statement& BindBytes(std::string_view bytes);
  Statement& BindText(std::u16string_view text);

  // 0 with a row to read, kNoRow at the end, or a Win32 code.
  DWORD Step();

  // Runs a statement that gives no rows: 0 or a Win32 code.
  DWORD Run();

  std::int64_t Number(int column) const;
  std::u16string Text(int column) const;
  std::span<const BYTE> Bytes(int column) const;  // valid until the next step

 private:
  sqlite3_stmt* statement_;
  int bound_ = 0;
  int failure_ = 0;  // the first result of a binding that was not success

  void Note(int result);
};

// The Win32 code for a result code of the database.
DWORD CodeOf(int sqliteResult);

}  // namespace host::registry
