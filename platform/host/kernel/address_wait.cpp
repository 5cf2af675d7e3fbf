#include "platform/host/kernel/address_wait.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/kernel/futex.h"
#include "platform/host/kernel/handle_table.h"

namespace {

// Counts the wakes. Addresses that share a place wake each other's waiters, who then return for nothing.
using Place = std::atomic<std::uint32_t>;

Place& PlaceOf(const volatile void* address) {
  static std::array<Place, 64> places;
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  return places[(number >> 3 ^ number >> 9) % places.size()];
}

template <typename Word>
bool IsSame(const volatile void* address, const void* compare) {
  Word expected;
  std::memcpy(&expected, compare, sizeof(expected));
  return __atomic_load_n(static_cast<const volatile Word*>(address), __ATOMIC_SEQ_CST) == expected;
}

// How values of `size` bytes are compared; null for a size that is none.
using Comparison = bool (*)(const volatile void*, const void*);
Comparison ComparisonOf(SIZE_T size) {
  switch (size) {
    case 1:
      return &IsSame<std::uint8_t>;
    case 2:
      return &IsSame<std::uint16_t>;
    case 4:
      return &IsSame<std::uint32_t>;
    case 8:
      return &IsSame<std::uint64_t>;
    default:
      return nullptr;
  }
}

}  // namespace

BOOL WaitOnAddress(volatile void* address, PVOID compare, SIZE_T size, DWORD milliseconds) {
  if (const auto code = host::InjectedFailure("WaitOnAddress")) return host::FailWith(*code);
  const Comparison isSame = ComparisonOf(size);
  if (isSame == nullptr) return host::FailWith(ERROR_INVALID_PARAMETER);
  const host::Deadline deadline = host::DeadlineAfter(milliseconds);
  Place& wakes = PlaceOf(address);
  // Read before the value: whoever wakes has changed the value before it counts the wake, so one of the two is seen.
  const std::uint32_t seen = wakes.load();
  while (isSame(address, compare) && wakes.load() == seen) {
    if (!host::BlockWhile(wakes, seen, deadline)) return host::FailWith(ERROR_TIMEOUT);
  }
  return TRUE;
}

void WakeByAddressAll(PVOID address) {
  Place& wakes = PlaceOf(address);
  ++wakes;
  host::WakeAll(wakes);
}
