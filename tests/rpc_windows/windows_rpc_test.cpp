// The service's procedures called through the stubs of the Windows build, and how a client sees failures there.
#include <gtest/gtest.h>

#include <thread>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/sync.h"
#include "rpc/event_notify_list.h"
#include "tests/rpc_windows/interface_under_test.h"

namespace {

using namespace Quorvex::PC::Hkd04a7::Service;

std::size_t Subscriptions() {
  const Quorvex::PC::Common::MutexLock lock(g_RpcEventNotifyListLock);
  return g_RpcEventNotifyList.size();
}

TEST(WindowsRpc, AServerThatIsNotThereIsAStatus) {
  const Binding binding(L"Hkd04a7NobodyThere");
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); }),
            (Answer{RPC_S_SERVER_UNAVAILABLE, 0}));
  EXPECT_EQ(subscription, nullptr);
}

TEST(WindowsRpc, OnlyStatusesAreCaught) {
  EXPECT_EQ(CatchRpcException([] {}), RPC_S_OK);
  EXPECT_EQ(CatchRpcException([] { RpcRaiseException(RPC_S_CALL_FAILED); }), RPC_S_CALL_FAILED);
  EXPECT_EQ(CatchRpcException([] { RpcRaiseException(static_cast<RPC_STATUS>(0x800704C7)); }),
            static_cast<RPC_STATUS>(0x800704C7));
  // A C++ exception goes through to its handler.
  EXPECT_THROW(CatchRpcException([] { throw 1; }), int);
  RPC_STATUS inner = 0;
  EXPECT_EQ(CatchRpcException([&] {
              inner = CatchRpcException([] { RpcRaiseException(RPC_S_SERVER_TOO_BUSY); });
              RpcRaiseException(RPC_S_ACCESS_DENIED);
            }),
            RPC_S_ACCESS_DENIED);
  EXPECT_EQ(inner, RPC_S_SERVER_TOO_BUSY);
}

TEST(WindowsRpc, SubscriptionsAreMadeAndEnded) {
  const Server server;
  const Binding binding(server.Endpoint());
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); }), kSucceeded);
  ASSERT_NE(subscription, nullptr);
  EXPECT_EQ(Subscriptions(), 1u);
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription); }), kSucceeded);
  EXPECT_EQ(subscription, nullptr);
  for (int n = 0; n < 500 && Subscriptions() != 0; ++n) Sleep(10);
  EXPECT_EQ(Subscriptions(), 0u);
}

TEST(WindowsRpc, ANullHandleIsRefusedBeforeTheRoutine) {
  const Server server;
  Hkd04a7Rpc_EventNotifyHandle null = nullptr;
  Hkd04a7Rpc_EventRecord record = {};
  EXPECT_NE(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&null); }).status, RPC_S_OK);
  EXPECT_NE(WaitForEvent(null, &record).status, RPC_S_OK);
}

TEST(WindowsRpc, QueuedEventsAnswerWaitsAtOnceInTheirOrder) {
  const Server server;
  const Binding binding(server.Endpoint());
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); }), kSucceeded);
  DeliverToSubscriptions({1, 0x5, 0});
  DeliverToSubscriptions({32, 0xFFFFFFFF, 7});
  for (const Hkd04a7Rpc_EventRecord& expected : {Hkd04a7Rpc_EventRecord{1, 0x5, 0}, {32, 0xFFFFFFFF, 7}}) {
    Hkd04a7Rpc_EventRecord record = {};
    EXPECT_EQ(WaitForEvent(subscription, &record), kSucceeded);
    EXPECT_EQ(record.eventId, expected.eventId);
    EXPECT_EQ(record.data1, expected.data1);
    EXPECT_EQ(record.data2, expected.data2);
  }
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription); }), kSucceeded);
}

TEST(WindowsRpc, APendingWaitEndsWithTheEventThatComes) {
  const Server server;
  const Binding binding(server.Endpoint());
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); }), kSucceeded);
  const std::jthread later([] {
    Sleep(200);
    DeliverToSubscriptions({33, 1, 2});
  });
  Hkd04a7Rpc_EventRecord record = {};
  EXPECT_EQ(WaitForEvent(subscription, &record), kSucceeded);
  EXPECT_EQ(record.eventId, 33u);
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription); }), kSucceeded);
}

}  // namespace
