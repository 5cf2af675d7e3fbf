// One subscriber that cannot keep an event, and the next one that still receives it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "platform/errors.h"
#include "rpc/event_notify_list.h"

using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

// The next allocation of this thread fails, once.
thread_local bool g_failNextAllocation = false;

void* Allocate(std::size_t size) {
  if (g_failNextAllocation) {
    g_failNextAllocation = false;
    throw std::bad_alloc();
  }
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  return Allocate(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

// The identifiers that waits bring until the queue is empty; the calls are none that the runtime knows.
std::vector<DWORD> Drain(CRpcEventNotify& subscription) {
  std::vector<DWORD> received;
  RPC_ASYNC_STATE call{};
  Hkd04a7Rpc_EventRecord record{};
  while (subscription.WaitEventAsync(&call, &record) == NO_ERROR) received.push_back(record.data1);
  subscription.CancelWait();  // the last one is still pending, with the call that ends here
  return received;
}

TEST(Delivery, ReachesTheNextSubscriberWhenOneIsOutOfMemory) {
  const auto first = std::make_shared<CRpcEventNotify>();
  const auto second = std::make_shared<CRpcEventNotify>();
  AddToRpcEventNotifyList(first);
  AddToRpcEventNotifyList(second);
  // Enough that both queues grow several times; whenever the next event needs memory, the first one gets none.
  constexpr DWORD kEvents = 200;
  for (DWORD number = 0; number < kEvents; ++number) {
    g_failNextAllocation = true;
    DeliverToSubscriptions({1, number, 0});
    g_failNextAllocation = false;
  }
  RemoveFromRpcEventNotifyList(first.get());
  RemoveFromRpcEventNotifyList(second.get());
  const std::vector<DWORD> kept = Drain(*first);
  const std::vector<DWORD> all = Drain(*second);
  EXPECT_EQ(all.size(), kEvents);
  EXPECT_LT(kept.size(), kEvents) << "no allocation failed: nothing was tested";
  EXPECT_GT(kept.size(), 0u);
  EXPECT_TRUE(std::is_sorted(kept.begin(), kept.end()));
}

}  // namespace
