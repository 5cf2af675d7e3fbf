#include "platform/host/rpc/server_threads.h"

#include <sched.h>
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

// What a routine starts is not to inherit it. Where the system refuses, the thread does its work all the same.
void BecomeBatchThread() {
  const sched_param priority{};
  sched_setscheduler(0, SCHED_BATCH | SCHED_RESET_ON_FORK, &priority);
}

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
  BecomeBatchThread();
  const ThreadActivity self;
  {
    std::lock_guard guard(lock_);
    --starting_;
  }
  while (AwaitTurn(self)) {
    bool holding = true;
    while (holding) {
      auto task = source_.Next();
      if (task) holding = RunTasks(std::move(task));
    }
  }
}

bool CallThreads::AwaitTurn(const ThreadActivity& self) {
  std::unique_lock guard(lock_);
  while (!vacant_) {
    ++idle_;
    bool timedOut = false;
    if (idle_ > 1)
      timedOut = turnVacant_.wait_for(guard, linger_) == std::cv_status::timeout;
    else
      turnVacant_.wait(guard);  // the one that stays has nothing to look after
    --idle_;
    if (timedOut && !vacant_ && idle_ > 0) {
      --threads_;
      return false;
    }
  }
  vacant_ = false;
  holder_ = self;
  return true;
}

// Runs a task and what follows from it. True when the thread still holds the turn after that.
bool CallThreads::RunTasks(std::shared_ptr<Task> task) {
  bool holding = true;
  while (task) {
    const std::uint64_t run = holding ? BeginRun() : 0;
    task = task->Run();
    holding = holding && EndRun(run);
  }
  if (holding) return true;
  std::lock_guard guard(lock_);
  --detached_;
  return false;
}

// The watch is looked at after the run is shown, and EndWatch does both the other way round: one of them sees the
// other.
std::uint64_t CallThreads::BeginRun() {
  const std::uint64_t run = run_.load(std::memory_order_relaxed) + 1;
  run_ = run;
  if (!watching_ && !watching_.exchange(true)) ArmWatch(kTick);
  return run;
}

// True when the thread still holds the turn.
bool CallThreads::EndRun(std::uint64_t run) {
  return run_.compare_exchange_strong(run, run + 1);
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

// True when the watch goes on: a task runs, one has run since the last tick, or the turn still waits for a thread. The
// processor time of a task adds up over the ticks: however little of a processor it gets, one that computes is not
// preempted for ever.
bool CallThreads::Tick() {
  std::lock_guard guard(lock_);
  const std::uint64_t run = run_;
  const bool running = run % 2 != 0;
  const bool sameTask = std::exchange(runSeen_, run) == run;
  if (!sameTask) holder_.StartCount();
  const bool preempted = running && sameTask && holder_.ProcessorTime() < kTick / 2 && holder_.Runnable();
  if (running && sameTask && !preempted) HandTurnOver(run);
  if (vacant_ && idle_ + starting_ == 0) AddThread();
  return running || vacant_ || !sameTask || !EndWatch(run);
}

// Nothing happens when the task has just ended.
void CallThreads::HandTurnOver(std::uint64_t run) {
  if (!run_.compare_exchange_strong(run, run + 1)) return;
  ++detached_;
  vacant_ = true;
  turnVacant_.notify_one();
}

// False when a task has begun after `run` and relies on the watch.
bool CallThreads::EndWatch(std::uint64_t run) {
  watching_ = false;
  return run_ == run || watching_.exchange(true);
}

void CallThreads::ArmWatch(std::chrono::microseconds tick) {
  itimerspec when{};
  when.it_value.tv_nsec = std::chrono::nanoseconds(tick).count();
  timerfd_settime(timer_, 0, &when, nullptr);
}

}  // namespace host::rpc
