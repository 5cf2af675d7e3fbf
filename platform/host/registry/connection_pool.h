// The process's connections to its machine's registry.
//
// A call borrows one for its duration; there are at most kMostConnections, and a call that finds all of them lent
// waits. The pool lives as long as the process: threads may still be calling when it ends.
#pragma once

#include <memory>

#include "platform/host/registry/database.h"

namespace host::registry {

inline constexpr int kMostConnections = 4;

class BorrowedDatabase {
 public:
  BorrowedDatabase();
  ~BorrowedDatabase();
  BorrowedDatabase(const BorrowedDatabase&) = delete;
  BorrowedDatabase& operator=(const BorrowedDatabase&) = delete;

  // 0 when there is a database, else why it could not be opened.
  DWORD Status() const { return status_; }
  Database& operator*() const { return *database_; }

 private:
  DWORD status_ = 0;  // before the database, whose opening sets it
  std::unique_ptr<Database> database_;
};

}  // namespace host::registry
