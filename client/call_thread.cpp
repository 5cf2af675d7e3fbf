#include "client/call_thread.h"

#include <exception>
#include <utility>

namespace client {

CallThread::CallThread() : thread_([this] { Run(); }) {}

CallThread::~CallThread() {
  Cancel();
  {
    std::lock_guard guard(lock_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

std::future<Answer> CallThread::Post(Call call) {
  Posted posted{std::move(call), {}};
  std::future<Answer> answer = posted.promise.get_future();
  {
    std::lock_guard guard(lock_);
    queue_.push_back(std::move(posted));
  }
  changed_.notify_all();
  return answer;
}

void CallThread::Cancel() {
  std::deque<Posted> cancelled;
  {
    std::lock_guard guard(lock_);
    cancelled.swap(queue_);
  }
  for (Posted& posted : cancelled) posted.promise.set_value({{"CallThread::Cancel", RPC_S_CALL_CANCELLED}});
}

void CallThread::Run() {
  std::unique_lock guard(lock_);
  while (true) {
    changed_.wait(guard, [this] { return ending_ || !queue_.empty(); });
    if (queue_.empty()) return;
    Posted posted = std::move(queue_.front());
    queue_.pop_front();
    guard.unlock();
    Make(posted);
    guard.lock();
  }
}

void CallThread::Make(Posted& posted) {
  Answer answer;
  try {
    answer.status = posted.call(&answer.value);
  } catch (...) {
    posted.promise.set_exception(std::current_exception());
    return;
  }
  posted.promise.set_value(answer);
}

}  // namespace client
