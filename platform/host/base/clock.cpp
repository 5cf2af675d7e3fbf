#include "platform/host/base/clock.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace host {

namespace {

using std::chrono::steady_clock;

// How soon a wait sees that a test has moved the clock.
constexpr std::chrono::milliseconds kLookInterval{1};

// Set for good by the first call of a test; until then the system's clock is all there is.
std::atomic<bool> isTaken{false};
std::atomic<unsigned> sleeping{0};

std::mutex mutex;  // guards the two below
steady_clock::duration ahead{};
std::optional<MonotonicTime> frozenAt;

MonotonicTime TakenNow() {
  return frozenAt.value_or(steady_clock::now() + ahead);
}

}  // namespace

MonotonicTime MonotonicNow() {
  if (!isTaken.load(std::memory_order_acquire)) return steady_clock::now();
  const std::lock_guard lock(mutex);
  return TakenNow();
}

MonotonicTime BlockUntil(MonotonicTime deadline) {
  if (!isTaken.load(std::memory_order_acquire)) return deadline;
  const auto left = deadline - MonotonicNow();
  return steady_clock::now() + std::min<steady_clock::duration>(left, kLookInterval);
}

void FreezeClock() {
  const std::lock_guard lock(mutex);
  frozenAt = TakenNow();
  isTaken.store(true, std::memory_order_release);
}

void ThawClock() {
  const std::lock_guard lock(mutex);
  if (frozenAt) ahead = *frozenAt - steady_clock::now();
  frozenAt.reset();
}

void MoveClock(std::chrono::milliseconds step) {
  const std::lock_guard lock(mutex);
  if (frozenAt) {
    *frozenAt += step;
  } else {
    ahead += step;
  }
  isTaken.store(true, std::memory_order_release);
}

unsigned SleepingThreads() {
  return sleeping.load();
}

SleepingScope::SleepingScope() {
  ++sleeping;
}

SleepingScope::~SleepingScope() {
  --sleeping;
}

}  // namespace host
