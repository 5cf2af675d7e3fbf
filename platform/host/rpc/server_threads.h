// The threads that serve calls: one polls and runs what it has read; when a run lasts, another takes the polling over.
//
// The right to poll is the turn. Whoever holds it asks the source for the next task and runs it inline, so a short call
// costs no hand-over. While tasks run, a timer looks once a tick whether the same task is still running; then the
// turn is vacant and an idle thread, or a new one, takes it. The thread that lost it finishes its task and becomes
// idle. Idle threads end after a while, all but one. A thread that is only short of a processor keeps the turn: another
// would get none before it.
//
// They are scheduled as batch threads: a request that comes in does not interrupt whoever runs, such as the thread that
// hands an event to a hundred clients, or the client that is about to send its next request.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/host/rpc/thread_activity.h"

namespace host::rpc {

// One server routine or one rundown, ready to run.
class Task : public std::enable_shared_from_this<Task> {
 public:
  Task() = default;
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  virtual ~Task() = default;

  // Runs on a call thread, with no lock of the runtime held. Answers what has become ready by that and is to run next
  // on the same thread, or null.
  virtual std::shared_ptr<Task> Run() = 0;
};

// Where tasks come from. Next is called by the holder of the turn only, so what it touches needs no lock.
class TaskSource {
 public:
  virtual ~TaskSource() = default;

  // Waits for the next task. May answer null; it is then asked again.
  virtual std::shared_ptr<Task> Next() = 0;
};

class CallThreads {
 public:
  // `source` outlives the process's threads.
  explicit CallThreads(TaskSource& source);

  // Starts the polling and the watching thread, once. False when the system has no thread left.
  bool Start();

  unsigned ThreadCount() const;

  // How long an idle thread stays before it ends.
  void SetLinger(std::chrono::milliseconds linger);

 private:
  bool StartWatch();
  bool AddThread();
  void ThreadMain();
  bool AwaitTurn(const ThreadActivity& self);
  bool RunTasks(std::shared_ptr<Task> task);
  std::uint64_t BeginRun();
  bool EndRun(std::uint64_t run);
  void WatchMain();
  bool Tick();
  void HandTurnOver(std::uint64_t run);
  bool EndWatch(std::uint64_t run);
  void ArmWatch(std::chrono::microseconds tick);

  TaskSource& source_;
  int timer_ = -1;

  // Counted up when a task begins under the turn and when it ends: odd while the holder runs one. Changed by the holder
  // alone, but that the watch ends the run of a task that lasts, and takes the turn away by that.
  std::atomic<std::uint64_t> run_{0};
  std::atomic<bool> watching_{false};  // the timer is armed

  mutable std::mutex lock_;  // guards all below; no other lock is taken under it
  std::condition_variable turnVacant_;
  std::chrono::milliseconds linger_{5000};
  bool vacant_ = true;         // nobody holds the turn
  ThreadActivity holder_;      // of who has the turn, or had it last
  std::uint64_t runSeen_ = 0;  // run_ at the last tick
  unsigned threads_ = 0;
  unsigned idle_ = 0;
  unsigned starting_ = 0;  // threads made that have not asked for the turn yet
  unsigned detached_ = 0;  // threads running a task without the turn
};

}  // namespace host::rpc
