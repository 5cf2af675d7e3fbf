#include "platform/host/rpc/server_posted_tasks.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace host::rpc {

PostedTasks::PostedTasks() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

PostedTasks::~PostedTasks() {
  if (event_ >= 0) close(event_);
}

void PostedTasks::Acknowledge() {
  eventfd_t count = 0;
  eventfd_read(event_, &count);
}

void PostedTasks::Post(std::shared_ptr<Task> task) {
  if (!task) return;
  {
    std::lock_guard guard(lock_);
    tasks_.push_back(std::move(task));
    any_ = true;
  }
  eventfd_write(event_, 1);
}

std::shared_ptr<Task> PostedTasks::Take() {
  if (!any_) return nullptr;
  std::lock_guard guard(lock_);
  if (tasks_.empty()) return nullptr;
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  any_ = !tasks_.empty();
  return task;
}

}  // namespace host::rpc
