#include "platform/host/kernel/event_word.h"

#include "platform/host/kernel/futex.h"
#include "platform/host/kernel/sync.h"

namespace host {
namespace {

constexpr std::uint32_t kSignalled = 1;
constexpr std::uint32_t kOneSet = 2;

DWORD WaitManual(EventWord& word, const Deadline& deadline) {
  const std::uint32_t seen = word.load(std::memory_order_acquire);
  if (seen & kSignalled) return WAIT_OBJECT_0;
  for (;;) {
    const bool inTime = BlockWhile(word, seen, deadline);
    if (word.load(std::memory_order_acquire) != seen) return WAIT_OBJECT_0;
    if (!inTime) return WAIT_TIMEOUT;
  }
}

DWORD WaitAutomatic(EventWord& word, const Deadline& deadline) {
  for (bool inTime = true;;) {
    std::uint32_t expected = kSignalled;
    if (word.compare_exchange_strong(expected, 0, std::memory_order_acq_rel)) return WAIT_OBJECT_0;
    if (!inTime) return WAIT_TIMEOUT;
    inTime = BlockWhile(word, 0, deadline);
  }
}

}  // namespace

void SetEventWord(EventWord& word, EventReset reset) {
  if (reset == EventReset::Automatic) {
    if (word.exchange(kSignalled, std::memory_order_acq_rel) == 0) Wake(word, 1);
    return;
  }
  std::uint32_t old = word.load(std::memory_order_relaxed);
  do {
    if (old & kSignalled) return;
  } while (!word.compare_exchange_weak(old, (old + kOneSet) | kSignalled, std::memory_order_acq_rel));
  WakeAll(word);
}

void ResetEventWord(EventWord& word) {
  word.fetch_and(~kSignalled, std::memory_order_acq_rel);
}

DWORD WaitForEventWord(EventWord& word, EventReset reset, const Deadline& deadline) {
  return reset == EventReset::Manual ? WaitManual(word, deadline) : WaitAutomatic(word, deadline);
}

}  // namespace host
