#include "platform/host/rpc/server_threads.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <system_error>
#include <thread>
#include <utility>

namespace host::rpc {

namespace {

// How long a task may hold up the polling. Shorter while others last already: they tend to come in flocks.
constexpr std::chrono::microseconds kTick{1000};
constexpr std::chrono::microseconds kBusyTick{200};

}  // namespace

CallThreads::CallThreads(TaskSource& source) : source_(source) {}

bool CallThreads::Start() {
  std::lock_guard guard(lock_);
  if (!StartWatch()) return false;
  return threads_ > 0 || AddThread();
}

bool CallThreads::StartWatch() {
  if (timer_ >= 0) return true;
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  if (timer < 0) return false;
  timer_ = timer;
  try {
    std::thread([this] { WatchMain(); }).detach();
  } catch (const std::system_error&) {
    close(timer);
    timer_ = -1;
  }
  return timer_ >= 0;
}

unsigned CallThreads::ThreadCount() const {
  std::lock_guard guard(lock_);
  return threads_;
}

void CallThreads::SetLinger(std::chrono::milliseconds linger) {
  std::lock_guard guard(lock_);
  linger_ = linger;
  turnVacant_.notify_all();
}

bool CallThreads::AddThread() {
  try {
    std::thread([this] { ThreadMain(); }).detach();
  } catch (const std::system_error&) {
    return false;
  }
  ++threads_;
  ++starting_;
  return true;
}

void CallThreads::ThreadMain() {
  {
    std::lock_guard guard(lock_);
    --starting_;
  }
  std::uint64_t turn = 0;
  while (AwaitTurn(&turn)) {
    bool holding = true;
    while (holding) {
      auto task = source_.Next();
      if (task) holding = RunTasks(std::move(task), turn);
    }
  }
}

bool CallThreads::AwaitTurn(std::uint64_t* turn) {
  std::unique_lock guard(lock_);
  while (!vacant_) {
    ++idle_;
    const bool timedOut = turnVacant_.wait_for(guard, linger_) == std::cv_status::timeout;
    --idle_;
    if (timedOut && !vacant_ && idle_ > 0) {
      --threads_;
      return false;
    }
  }
  vacant_ = false;
  *turn = turn_;
  return true;
}

// Runs a task and what follows from it. True when the thread still holds the turn after that.
bool CallThreads::RunTasks(std::shared_ptr<Task> task, std::uint64_t turn) {
  bool holding = true;
  while (task) {
    if (BeginRun(turn)) ArmWatch(kTick);
    task = task->Run();
    holding = EndRun(turn, task == nullptr);
  }
  return holding;
}

// True when the watch has to be armed. Nothing to do for a thread that has lost its turn.
bool CallThreads::BeginRun(std::uint64_t turn) {
  std::lock_guard guard(lock_);
  if (turn != turn_) return false;
  running_ = true;
  ++runs_;
  return !std::exchange(watching_, true);
}

// True when the thread still holds the turn. `last`: nothing follows from the task.
bool CallThreads::EndRun(std::uint64_t turn, bool last) {
  std::lock_guard guard(lock_);
  if (turn == turn_) {
    running_ = false;
    return true;
  }
  if (last) --detached_;
  return false;
}

void CallThreads::WatchMain() {
  for (;;) {
    std::uint64_t expirations = 0;
    if (read(timer_, &expirations, sizeof(expirations)) != sizeof(expirations)) continue;
    if (!Tick()) continue;
    std::unique_lock guard(lock_);
    const auto tick = detached_ > 0 ? kBusyTick : kTick;
    guard.unlock();
    ArmWatch(tick);
  }
}

// True when the watch goes on: a task runs, one has run since the last tick, or the turn still waits for a thread.
bool CallThreads::Tick() {
  std::lock_guard guard(lock_);
  const bool sameTask = runs_ == runsSeen_;
  runsSeen_ = runs_;
  if (running_ && sameTask) HandTurnOver();
  if (vacant_ && idle_ + starting_ == 0) AddThread();
  watching_ = running_ || vacant_ || !sameTask;
  return watching_;
}

void CallThreads::HandTurnOver() {
  ++turn_;
  ++detached_;
  running_ = false;
  vacant_ = true;
  turnVacant_.notify_one();
}

void CallThreads::ArmWatch(std::chrono::microseconds tick) {
  itimerspec when{};
  when.it_value.tv_nsec = std::chrono::nanoseconds(tick).count();
  timerfd_settime(timer_, 0, &when, nullptr);
}

}  // namespace host::rpc
