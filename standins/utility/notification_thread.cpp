#include "standins/utility/notification_thread.h"

#include <future>
#include <system_error>

#include "standins/last_error.h"

// Lies on the stack of Begin, which waits for `registered`; the thread does not touch it afterwards.
struct NotificationThread::Start {
  NotificationCallback callback;
  void* context;
  std::promise<std::uint32_t> registered;
};

NotificationThread::~NotificationThread() {
  Cancel();
  if (thread_.joinable()) thread_.join();
}

std::uint32_t NotificationThread::Begin(NotificationCallback callback, void* context) {
  if (callback == nullptr) return kInvalidParameter;
  const std::lock_guard guard(lock_);
  if (source_ != nullptr) return kAlreadyInitialized;
  if (thread_.joinable()) {
    // A thread whose callback cancelled its own wait: it cannot begin another one.
    if (thread_.get_id() == std::this_thread::get_id()) return kAlreadyInitialized;
    thread_.join();
  }
  Start start{callback, context, {}};
  std::future<std::uint32_t> registered = start.registered.get_future();
  try {
    thread_ = std::thread(&NotificationThread::Run, this, &start);
  } catch (const std::system_error&) {
    return kNoSystemResources;
  }
  const std::uint32_t error = registered.get();
  if (error != 0) thread_.join();
  return error;
}

bool NotificationThread::Cancel() {
  std::thread ending;
  {
    const std::lock_guard guard(lock_);
    if (source_ == nullptr) return false;
    source_->Cancel();
    source_ = nullptr;
    // The callback cannot wait for itself: its thread is joined by whoever comes next.
    if (thread_.get_id() == std::this_thread::get_id()) return true;
    ending = std::move(thread_);
  }
  ending.join();
  return true;
}

void NotificationThread::Run(Start* start) {
  const NotificationCallback callback = start->callback;
  void* context = start->context;
  NotificationSource source;
  if (source.Error() != 0) {
    start->registered.set_value(source.Error());
    return;
  }
  source_ = &source;  // Begin holds lock_ for this thread
  start->registered.set_value(0);
  std::uint32_t status = 0;
  while (source.Wait(&status)) callback(status, context);
  const std::lock_guard cancelled(lock_);
}
