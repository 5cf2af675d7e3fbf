#include "platform/host/kernel/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace host {

bool BlockWhile(std::atomic<std::uint32_t>& word, std::uint32_t seen, const Deadline& deadline) {
  timespec until{};
  if (deadline) {
    const auto moment = BlockUntil(*deadline).time_since_epoch();
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(moment).count();
    until = {ns / 1'000'000'000, ns % 1'000'000'000};
  }
  syscall(SYS_futex, &word, FUTEX_WAIT_BITSET, seen, deadline ? &until : nullptr, nullptr, FUTEX_BITSET_MATCH_ANY);
  return !deadline || MonotonicNow() < *deadline;
}

void Wake(std::atomic<std::uint32_t>& word, int waiters) {
  syscall(SYS_futex, &word, FUTEX_WAKE, waiters, nullptr, nullptr, 0);
}

void WakeAll(std::atomic<std::uint32_t>& word) {
  Wake(word, INT_MAX);
}

}  // namespace host
