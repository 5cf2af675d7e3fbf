// What a thread does at the moment, for another one that cannot ask it.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <chrono>

namespace host::rpc {

// Made on the thread it is about. May be asked on any other, by one at a time, and for as long as one likes: a thread
// that has ended counts as one that waits.
class ThreadActivity {
 public:
  ThreadActivity();

  // The thread's processor time counts from now on.
  void StartCount();
  // How long it has run since then.
  std::chrono::nanoseconds ProcessorTime() const;

  // Whether it could run now, and does so or is in line for a processor. False when it waits for anything else, and
  // when the system does not tell.
  bool Runnable() const;

 private:
  std::chrono::nanoseconds Total() const;

  pid_t thread_;
  clockid_t clock_;
  std::chrono::nanoseconds start_{0};
};

}  // namespace host::rpc
