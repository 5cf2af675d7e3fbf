// Which state the databases are in, told without a system call.
//
// Every commit changes the header of its write-ahead log's index, which all processes that have the database open share
// in memory (https://www.sqlite.org/walformat.html, "The WAL-Index Header"). Equal marks, one from before what was read
// began and one from after its end, mean that it was the state of both; equal marks at any two moments mean the same
// contents. Used by the thread that uses the connection.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

struct sqlite3;

namespace host::registry {

class StateMark {
 public:
  friend bool operator==(const StateMark&, const StateMark&) = default;

 private:
  friend class StateView;
  static constexpr std::size_t kHeaderWords = 6;  // 48 bytes
  std::array<std::array<std::uint64_t, kHeaderWords>, 2> headers_{};
};

// Where a connection finds the marks of `main` and `vol`. Valid as long as the connection.
class StateView {
 public:
  // Both databases must have been read over the connection. Without a shared index there are no marks.
  static StateView Of(sqlite3* connection);

  // Nothing while a header is being written, and where there are no marks.
  std::optional<StateMark> Mark() const;

 private:
  std::array<const std::uint64_t*, 2> headers_{};
};

}  // namespace host::registry
