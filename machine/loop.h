// The machine's event loop: descriptors, timers and posted work, all run by the one thread that calls Run.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace machine {

using Clock = std::chrono::steady_clock;

// Everything but Post and Quit is called by the loop's thread, or before Run.
class Loop {
 public:
  using DescriptorHandler = std::function<void(std::uint32_t events)>;
  using TimerId = std::uint64_t;

  Loop();
  ~Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  // False when the kernel gave no descriptors for the loop itself.
  bool valid() const { return epoll_ >= 0 && wake_ >= 0; }

  // Calls `handler` with the ready events (EPOLLIN, ...) of `descriptor`, which stays its owner's.
  // False with errno when it cannot be watched.
  bool Watch(int descriptor, std::uint32_t events, DescriptorHandler handler);
  void ChangeEvents(int descriptor, std::uint32_t events);
  // To be called before the descriptor is closed. No call of its handler begins afterwards.
  void Unwatch(int descriptor);

  // Runs `action` once, `delay` from now. The id is never 0.
  TimerId After(std::chrono::milliseconds delay, std::function<void()> action);
  void Cancel(TimerId id);

  // Runs `action` on the loop's thread, soon. Any thread.
  void Post(std::function<void()> action);

  // Serves until Quit.
  void Run();
  void Quit();

 private:
  int NextTimeout() const;
  void RunTimers();
  void RunPosted();

  int epoll_ = -1;
  int wake_ = -1;
  std::atomic<bool> quit_ = false;
  std::map<int, std::shared_ptr<DescriptorHandler>> handlers_;
  std::map<std::pair<Clock::time_point, TimerId>, std::function<void()>> timers_;
  std::map<TimerId, Clock::time_point> timerDeadlines_;
  TimerId nextTimer_ = 1;
  std::mutex postedMutex_;
  std::vector<std::function<void()>> posted_;  // guarded by postedMutex_
};

}  // namespace machine
