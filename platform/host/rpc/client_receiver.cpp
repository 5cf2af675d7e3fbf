#include "platform/host/rpc/client_receiver.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <utility>

namespace host::rpc {

namespace {

constexpr std::uint64_t kWakeKey = 0;

epoll_event EventFor(std::uint64_t key, bool output) {
  epoll_event event{};
  event.events = output ? EPOLLIN | EPOLLOUT : EPOLLIN;
  event.data.u64 = key;
  return event;
}

}  // namespace

Receiver& Receiver::Instance() {
  static auto* receiver = new Receiver;  // never destroyed: its thread outlives static objects
  return *receiver;
}

Receiver::Receiver() : poll_(epoll_create1(EPOLL_CLOEXEC)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  epoll_event event = EventFor(kWakeKey, false);
  epoll_ctl(poll_, EPOLL_CTL_ADD, wake_, &event);
  std::thread([this] {
    thread_ = std::this_thread::get_id();
    for (;;) RunOnce();
  }).detach();
}

bool Receiver::Watch(int descriptor, std::weak_ptr<ReceiverSource> source, bool output) {
  std::lock_guard guard(lock_);
  const std::uint64_t key = ++lastKey_;
  sources_[key] = {descriptor, std::move(source)};
  keys_[descriptor] = key;
  // Last, so that no event comes for what memory was too short to note.
  epoll_event event = EventFor(key, output);
  if (epoll_ctl(poll_, EPOLL_CTL_ADD, descriptor, &event) == 0) return true;
  sources_.erase(key);
  keys_.erase(descriptor);
  return false;
}

void Receiver::ChangeWatch(int descriptor, bool output) {
  std::lock_guard guard(lock_);
  const auto found = keys_.find(descriptor);
  if (found == keys_.end()) return;
  epoll_event event = EventFor(found->second, output);
  epoll_ctl(poll_, EPOLL_CTL_MOD, descriptor, &event);
}

void Receiver::Unwatch(int descriptor) {
  std::lock_guard guard(lock_);
  const auto found = keys_.find(descriptor);
  if (found == keys_.end()) return;
  epoll_ctl(poll_, EPOLL_CTL_DEL, descriptor, nullptr);
  sources_.erase(found->second);
  keys_.erase(found);
}

void Receiver::Post(std::function<void()> action) {
  {
    std::lock_guard guard(lock_);
    posted_.push_back(std::move(action));
  }
  eventfd_write(wake_, 1);
}

bool Receiver::IsThisThread() const {
  return thread_.load() == std::this_thread::get_id();
}

std::shared_ptr<ReceiverSource> Receiver::SourceOf(std::uint64_t key) {
  std::lock_guard guard(lock_);
  const auto found = sources_.find(key);
  return found != sources_.end() ? found->second.source.lock() : nullptr;
}

void Receiver::RunPosted() {
  eventfd_t count = 0;
  eventfd_read(wake_, &count);
  for (;;) {
    std::function<void()> action;
    {
      std::lock_guard guard(lock_);
      if (posted_.empty()) return;
      action = std::move(posted_.front());
      posted_.pop_front();
    }
    action();
  }
}

// One event at a time: a source's handler may run this function again, and may end other sources.
void Receiver::RunOnce() {
  epoll_event event{};
  if (epoll_wait(poll_, &event, 1, -1) != 1) return;
  if (event.data.u64 == kWakeKey) return RunPosted();
  if (const auto source = SourceOf(event.data.u64)) source->OnReady(event.events);
}

}  // namespace host::rpc
