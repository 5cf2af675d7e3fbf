// Blocking calls made asynchronously: a thread that makes them for its owner.
//
//   client::CallThread calls;
//   std::future<client::Answer> answer =
//       calls.Post([&session](DWORD* value) { return session.Call(0x1002, 0, 0, 0, value); });
//
// All procedures of the interface but the wait for events (client/event_subscription.h) are called this way. Each
// answers a status and at most one number. A call that has reached the service ends when the service answers or goes
// away, and cannot be taken back: a run-as-system call that waits for its program is best given a thread of its own.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "client/status.h"

namespace client {

struct Answer {
  Status status;
  DWORD value = 0;  // the procedure's [out] number
};

class CallThread {
 public:
  // Makes one call and fills in `*value` where the procedure has an [out] number. Runs on this object's thread, throws
  // nothing but what the future shall throw, and must not destroy this object. What it refers to lives until its future
  // is ready.
  using Call = std::function<Status(DWORD* value)>;

  CallThread();
  // Cancels, then waits for the call that is being made. Every future given out is ready afterwards.
  ~CallThread();
  CallThread(const CallThread&) = delete;
  CallThread& operator=(const CallThread&) = delete;

  // Has `call` made after those posted before it. The future never waits for anything when it is destroyed. Any thread.
  std::future<Answer> Post(Call call);

  // Calls that have not been begun are not made: they answer RPC_S_CALL_CANCELLED. The call that is being made goes on,
  // and later posts are made as usual. Any thread.
  void Cancel();

 private:
  struct Posted {
    Call call;
    std::promise<Answer> promise;
  };

  void Run();
  static void Make(Posted& posted);

  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<Posted> queue_;
  bool ending_ = false;
  std::thread thread_;  // the last member: it uses the others
};

}  // namespace client
