// Tasks that have become ready on a thread other than the polling one, which runs them.
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>

#include "platform/host/rpc/server_threads.h"

namespace host::rpc {

// Thread safe; its lock is taken last.
class PostedTasks {
 public:
  PostedTasks();
  ~PostedTasks();
  PostedTasks(const PostedTasks&) = delete;
  PostedTasks& operator=(const PostedTasks&) = delete;

  // Readable while a task has been posted since the last Acknowledge; -1 when the system had no descriptor left.
  int descriptor() const { return event_; }
  void Acknowledge();

  // Null is passed over. Never waits.
  void Post(std::shared_ptr<Task> task);
  // The oldest, or null.
  std::shared_ptr<Task> Take();
  // A thread that is no call thread has completed a call, and probably goes on to the next: an event has many clients.
  void NoteDelivery() { delivering_.store(true, std::memory_order_relaxed); }
  // Whether there has been one since the last look.
  bool TakeDelivery() {
    return delivering_.load(std::memory_order_relaxed) && delivering_.exchange(false, std::memory_order_relaxed);
  }

  // Whether there is one to take.
  bool Any() const { return any_; }

 private:
  const int event_;
  std::atomic<bool> any_{false};  // whether tasks_ holds one; looked at first, without the lock
  std::atomic<bool> delivering_{false};
  std::mutex lock_;
  std::deque<std::shared_ptr<Task>> tasks_;
};

}  // namespace host::rpc
