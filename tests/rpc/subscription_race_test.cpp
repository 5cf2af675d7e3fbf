// Subscriptions that come, wait and go on many threads while events are delivered; made for the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "client/event_subscription.h"
#include "platform/errors.h"
#include "platform/host/kernel/thread_pool.h"
#include "rpc/event_notify_list.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;

namespace {

constexpr std::uint32_t kRounds = 60;

// A client that goes away in the way its number says.
void ComeAndGo(int way) {
  RpcClient client;
  if (client.Create() != 0) return;
  auto wait = client.BeginWait();
  if (way % 3 == 0) wait->Cancel();
  if (way % 2 == 0) {
    client.Destroy();
    wait->Finish();
  } else {
    wait.reset();
    client.Vanish();
  }
}

TEST(SubscriptionRace, DeliversToThoseWhoStayWhileOthersComeAndGo) {
  ServiceProcess service;
  service.StartAndSettle();
  client::Connection connection;
  ASSERT_TRUE(connection.Open().Ok());
  client::EventSubscription steady(connection);
  ASSERT_TRUE(steady.Start().Ok());

  std::atomic<bool> over = false;
  std::vector<std::thread> guests;
  for (int guest = 0; guest < 4; ++guest) {
    guests.emplace_back([&over, guest] {
      for (int way = guest; !over; ++way) ComeAndGo(way);
    });
  }
  std::uint32_t arrived = 0;
  for (std::uint32_t word = 0x101; arrived < kRounds; word += 0x100) {
    client::Event event;
    if (!service.Device().Emergency(word)) break;
    if (steady.Next(std::chrono::seconds(10), &event) != client::EventSubscription::Outcome::Event) break;
    if (event.id != 35 || event.data1 != word) break;
    ++arrived;
  }
  over = true;
  for (std::thread& guest : guests) guest.join();
  EXPECT_EQ(arrived, kRounds);
}

// A wait and the destruction of its handle, side by side: the routines are called as the runtime calls them, with calls
// that the runtime does not know, so that each of the two may come first and nothing on the way keeps them apart.
TEST(SubscriptionRace, DestroysAHandleWhileACallRunsOnIt) {
  support::TestMachine machine;
  constexpr int kTimes = 500;
  std::vector<RPC_ASYNC_STATE> calls(kTimes);
  std::vector<Hkd04a7Rpc_EventRecord> records(kTimes);
  for (int round = 0; round < kTimes; ++round) {
    Hkd04a7Rpc_EventNotifyHandle handle = nullptr;
    ASSERT_EQ(Hkd04a7Rpc_EventNotify_Create(nullptr, &handle), S_OK);
    // The deletion, on a thread of the pool, may come to the call later than the next round.
    RPC_ASYNC_STATE& call = calls[static_cast<std::size_t>(round)];
    Hkd04a7Rpc_EventRecord& record = records[static_cast<std::size_t>(round)];
    std::thread waiter([&call, &record, handle] { Hkd04a7Rpc_EventNotify_WaitEventAsync(&call, handle, &record); });
    Hkd04a7Rpc_EventNotifyHandle second = handle;
    EXPECT_EQ(Hkd04a7Rpc_EventNotify_Destroy(&handle), S_OK);
    EXPECT_EQ(handle, nullptr);
    waiter.join();
    EXPECT_EQ(Hkd04a7Rpc_EventNotify_Destroy(&second), S_FALSE) << "the block is gone";
  }
  host::WaitForThreadPoolIdle();
  const Quorvex::PC::Common::MutexLock hold(Quorvex::PC::Hkd04a7::Service::g_RpcEventNotifyListLock);
  EXPECT_TRUE(Quorvex::PC::Hkd04a7::Service::g_RpcEventNotifyList.empty());
}

}  // namespace
