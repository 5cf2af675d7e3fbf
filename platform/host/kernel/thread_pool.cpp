#include "platform/host/kernel/thread_pool.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"

namespace {

constexpr int kMostThreads = 64;
constexpr std::chrono::seconds kIdleLife{2};

struct Work {
  PTP_SIMPLE_CALLBACK callback;
  PVOID context;
};

// Grows while there is more work than idle threads, and loses a thread that has been idle for kIdleLife.
class ThreadPool {
 public:
  static ThreadPool& Instance() {
    static auto* pool = new ThreadPool;  // its threads may outlive main
    return *pool;
  }

  // False when there is no thread to run it and none could be started; then nothing was queued.
  bool Submit(const Work& work) {
    std::lock_guard lock(mutex_);
    queue_.push_back(work);
    const bool wantsThread = static_cast<int>(queue_.size()) > idle_ && threads_ < kMostThreads;
    if (wantsThread && !StartThread() && threads_ == 0) {
      queue_.pop_back();
      return false;
    }
    workQueued_.notify_one();
    return true;
  }

  void WaitForIdle() {
    std::unique_lock lock(mutex_);
    becameIdle_.wait(lock, [this] { return queue_.empty() && running_ == 0; });
  }

 private:
  bool StartThread() {
    try {
      std::thread([this] { Run(); }).detach();
    } catch (const std::system_error&) {
      return false;
    } catch (const std::bad_alloc&) {
      return false;
    }
    ++threads_;
    ++idle_;
    return true;
  }

  void Run() {
    std::unique_lock lock(mutex_);
    const auto hasWork = [this] { return !queue_.empty(); };
    while (workQueued_.wait_until(lock, std::chrono::steady_clock::now() + kIdleLife, hasWork)) RunOne(lock);
    --idle_;
    --threads_;
  }

  void RunOne(std::unique_lock<std::mutex>& lock) {
    const Work work = queue_.front();
    queue_.pop_front();
    --idle_;
    ++running_;
    lock.unlock();
    work.callback(nullptr, work.context);
    lock.lock();
    --running_;
    ++idle_;
    if (queue_.empty() && running_ == 0) becameIdle_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable workQueued_;
  std::condition_variable becameIdle_;
  std::deque<Work> queue_;
  int threads_ = 0;
  int idle_ = 0;
  int running_ = 0;
};

}  // namespace

BOOL TrySubmitThreadpoolCallback(PTP_SIMPLE_CALLBACK callback, PVOID context, PTP_CALLBACK_ENVIRON environment) {
  if (const auto code = host::InjectedFailure("TrySubmitThreadpoolCallback")) return host::FailWith(*code);
  if (environment) host::Unsupported("TrySubmitThreadpoolCallback", "a callback environment");
  if (!callback) return host::FailWith(ERROR_INVALID_PARAMETER);
  return ThreadPool::Instance().Submit({callback, context}) ? TRUE : host::FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

namespace host {

void WaitForThreadPoolIdle() {
  ThreadPool::Instance().WaitForIdle();
}

}  // namespace host
