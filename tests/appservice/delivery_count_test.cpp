// The count alone, with results that arrive while the next delivery is being started.
#include <gtest/gtest.h>

#include <thread>

#include "appservice/delivery_count.h"

using namespace Quorvex::PC::Hkd04a7;

namespace {

TEST(DeliveryCount, OnlyTheLastResultEndsTheWait) {
  constexpr int kRounds = 20000;
  std::atomic<int> started = 0;
  std::atomic<int> reported = 0;
  std::thread reporter([&] {
    while (reported < 2 * kRounds) {
      while (started <= reported) std::this_thread::yield();
      ++reported;
      CountDeliveryReported();
    }
  });
  int early = 0;
  for (int round = 0; round < kRounds; ++round) {
    {
      const DeliveryStart starting;
      for (int delivery = 0; delivery < 2; ++delivery, ++started) CountDelivery();
      if (round % 2 == 0) std::this_thread::yield();
      early += g_appServiceBusy == 0 ? 1 : 0;
    }
    AwaitDeliveries();
    early += reported != started || g_appServicePending != 0 ? 1 : 0;
  }
  reporter.join();
  EXPECT_EQ(early, 0);
}

}  // namespace
