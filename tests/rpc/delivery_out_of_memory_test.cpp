// One subscriber that cannot keep an event, and the next one that still receives it.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/errors.h"
#include "rpc/event_notify_list.h"
#include "tests/support/failing_allocation.h"

using namespace Quorvex::PC::Hkd04a7::Service;

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
  DeliverToSubscriptions({1, 0, 0});
  // Enough that both queues grow several times; whenever the next event needs memory, the first one gets none.
  constexpr DWORD kEvents = 200;
  for (DWORD number = 1; number < kEvents; ++number) {
    support::FailAllocationAfter(0);
    DeliverToSubscriptions({1, number, 0});
    support::EndFailingAllocation();
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
