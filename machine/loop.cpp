#include "machine/loop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace machine {

Loop::Loop() : epoll_(epoll_create1(EPOLL_CLOEXEC)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!valid()) return;
  Watch(wake_, EPOLLIN, [this](std::uint32_t) {
    std::uint64_t count = 0;
    if (read(wake_, &count, sizeof(count)) > 0) RunPosted();
  });
}

Loop::~Loop() {
  if (wake_ >= 0) close(wake_);
  if (epoll_ >= 0) close(epoll_);
}

bool Loop::Watch(int descriptor, std::uint32_t events, DescriptorHandler handler) {
  epoll_event event = {};
  event.events = events;
  event.data.fd = descriptor;
  if (epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) != 0) return false;
  handlers_[descriptor] = std::make_shared<DescriptorHandler>(std::move(handler));
  return true;
}

void Loop::ChangeEvents(int descriptor, std::uint32_t events) {
  epoll_event event = {};
  event.events = events;
  event.data.fd = descriptor;
  epoll_ctl(epoll_, EPOLL_CTL_MOD, descriptor, &event);
}

void Loop::Unwatch(int descriptor) {
  epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr);
  handlers_.erase(descriptor);
}

Loop::TimerId Loop::After(std::chrono::milliseconds delay, std::function<void()> action) {
  const TimerId id = nextTimer_++;
  const Clock::time_point deadline = Clock::now() + delay;
  timerDeadlines_[id] = deadline;
  timers_[{deadline, id}] = std::move(action);
  return id;
}

void Loop::Cancel(TimerId id) {
  const auto found = timerDeadlines_.find(id);
  if (found == timerDeadlines_.end()) return;
  timers_.erase({found->second, id});
  timerDeadlines_.erase(found);
}

void Loop::Post(std::function<void()> action) {
  {
    const std::lock_guard lock(postedMutex_);
    posted_.push_back(std::move(action));
  }
  const std::uint64_t one = 1;
  // A full counter means that the loop is woken already.
  [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof(one));
}

void Loop::Run() {
  while (!quit_) {
    epoll_event events[64];
    const int count = epoll_wait(epoll_, events, 64, NextTimeout());
    for (int i = 0; i < count; ++i) {
      const auto found = handlers_.find(events[i].data.fd);
      if (found == handlers_.end()) continue;
      const std::shared_ptr<DescriptorHandler> handler = found->second;
      (*handler)(events[i].events);
    }
    RunTimers();
  }
}

void Loop::Quit() {
  quit_ = true;
  Post([] {});
}

int Loop::NextTimeout() const {
  if (timers_.empty()) return -1;
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(timers_.begin()->first.first - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left + 1, 0, 60'000));
}

void Loop::RunTimers() {
  const Clock::time_point now = Clock::now();
  while (!timers_.empty() && timers_.begin()->first.first <= now) {
    auto timer = timers_.extract(timers_.begin());
    timerDeadlines_.erase(timer.key().second);
    timer.mapped()();
  }
}

void Loop::RunPosted() {
  std::vector<std::function<void()>> actions;
  {
    const std::lock_guard lock(postedMutex_);
    actions.swap(posted_);
  }
  for (const auto& action : actions) action();
}

}  // namespace machine
