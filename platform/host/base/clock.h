// The clock that Sleep and every time-out of this layer go by: the system's monotonic one, until a test moves it. Any
// thread may call.
#pragma once

#include <chrono>

namespace host {

using MonotonicTime = std::chrono::steady_clock::time_point;

MonotonicTime MonotonicNow();

// Until when, on the system's clock, a wait that ends at `deadline` may block before it looks at MonotonicNow() again.
MonotonicTime BlockUntil(MonotonicTime deadline);

// Tests only. From FreezeClock on the clock stands still, so that only MoveClock makes a sleeping thread go on;
// ThawClock lets it run on from where it stands.
void FreezeClock();
void ThawClock();
// Puts the clock forward; whoever's time has come goes on within a few milliseconds.
void MoveClock(std::chrono::milliseconds step);

// How many threads of this process are in Sleep for a time (0 and INFINITE are none).
unsigned SleepingThreads();

// Counts the calling thread as sleeping while it lives.
class SleepingScope {
 public:
  SleepingScope();
  ~SleepingScope();
  SleepingScope(const SleepingScope&) = delete;
  SleepingScope& operator=(const SleepingScope&) = delete;
};

}  // namespace host
