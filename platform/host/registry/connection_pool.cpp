#include "platform/host/registry/connection_pool.h"

#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/host/registry/registry_control.h"

namespace host::registry {
namespace {

class ConnectionPool {
 public:
  static ConnectionPool& Instance() {
    static auto* pool = new ConnectionPool;
    return *pool;
  }

  std::unique_ptr<Database> Borrow(DWORD* code) {
    std::unique_lock lock(mutex_);
    returned_.wait(lock, [this] { return !idle_.empty() || lent_ < kMostConnections; });
    ++lent_;
    *code = 0;
    if (idle_.empty()) {
      if (directory_.state.empty()) directory_ = CurrentMachineDirectory();
      const MachineDirectory directory = directory_;
      lock.unlock();
      return Database::Open(directory, code);
    }
    std::unique_ptr<Database> database = std::move(idle_.back());
    idle_.pop_back();
    return database;
  }

  void Return(std::unique_ptr<Database> database) {
    {
      std::scoped_lock lock(mutex_);
      --lent_;
      if (database) idle_.push_back(std::move(database));
    }
    returned_.notify_one();
  }

  void Close() {
    std::scoped_lock lock(mutex_);
    idle_.clear();
    directory_ = {};
  }

 private:
  std::mutex mutex_;
  std::condition_variable returned_;
  std::vector<std::unique_ptr<Database>> idle_;
  int lent_ = 0;
  MachineDirectory directory_;  // empty until the first connection
};

}  // namespace

BorrowedDatabase::BorrowedDatabase() : database_(ConnectionPool::Instance().Borrow(&status_)) {}

BorrowedDatabase::~BorrowedDatabase() {
  ConnectionPool::Instance().Return(std::move(database_));
}

}  // namespace host::registry

void host::CloseRegistry() {
  registry::ConnectionPool::Instance().Close();
}
