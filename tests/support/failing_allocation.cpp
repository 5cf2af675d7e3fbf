#include "tests/support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kAll = -1;

thread_local int g_allocationsLeft = kAll;

// Null when it fails.
void* Allocate(std::size_t size) {
  const bool fails = g_allocationsLeft == 0;
  if (g_allocationsLeft != kAll) --g_allocationsLeft;
  return fails ? nullptr : std::malloc(size);
}

}  // namespace

void* operator new(std::size_t size) {
  void* block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace support {

void FailAllocationAfter(int succeeding) {
  g_allocationsLeft = succeeding;
}

void EndFailingAllocation() {
  g_allocationsLeft = kAll;
}

}  // namespace support
