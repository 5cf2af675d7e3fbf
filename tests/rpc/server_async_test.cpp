// Asynchronous calls: completed once, by any thread, without waiting for anyone.
#include <sys/socket.h>

#include <algorithm>
#include <thread>

#include "platform/host/rpc/server_status.h"
#include "tests/rpc/server_fixture.h"

using namespace std::chrono_literals;

namespace {

using ServerAsync = ServerFixture;

TEST_F(ServerAsync, PendingCallsHoldNoThreadAndAreAnsweredInAnyOrder) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  std::vector<std::uint32_t> calls;
  for (int i = 0; i < 200; ++i) calls.push_back(client.StartWait(kWait, subscription.token));
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 200; }));
  EXPECT_LE(host::rpc::ServerStatus().threads, 4u);
  EXPECT_EQ(host::rpc::ServerStatus().pendingCalls, 200u);
  std::reverse(server_.pending.begin(), server_.pending.end());
  for (std::uint32_t i = 0; i < 200; ++i) EXPECT_EQ(CompleteNext(i, 77), RPC_S_OK);
  for (std::uint32_t i = 0; i < 200; ++i) {
    const auto reply = client.Receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->header.callId, calls[199 - i]);
    const auto answer = client.ReadAnswer(kWait, *reply);
    EXPECT_EQ(answer.result, 77u);
    EXPECT_EQ(std::to_integer<std::uint32_t>(answer.arguments[1].record[0]), i);
  }
}

TEST_F(ServerAsync, CompletedInsideTheRoutineOrAborted) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  server_.wait = [](PendingWait wait) {
    std::uint32_t result = 3;
    EXPECT_EQ(RpcAsyncCompleteCall(wait.state, &result), RPC_S_OK);
    EXPECT_EQ(RpcAsyncCompleteCall(wait.state, &result), RPC_S_INVALID_ASYNC_CALL) << "a second completion";
    EXPECT_EQ(RpcAsyncAbortCall(wait.state, 5), RPC_S_INVALID_ASYNC_CALL);
  };
  client.StartWait(kWait, subscription.token);
  const auto reply = client.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(client.ReadAnswer(kWait, *reply).result, 3u);

  server_.wait = [](PendingWait wait) { EXPECT_EQ(RpcAsyncAbortCall(wait.state, 0x800706FF), RPC_S_OK); };
  client.StartWait(kWait, subscription.token);
  const auto fault = client.Receive();
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->fault, 0x800706FFu);
  EXPECT_FALSE(client.Receive(50ms)) << "one answer for each call";
}

TEST_F(ServerAsync, ARoutineThatRaisesEndsItsCall) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  server_.wait = [](PendingWait) { RpcRaiseException(RPC_S_OUT_OF_RESOURCES); };
  client.StartWait(kWait, subscription.token);
  const auto fault = client.Receive();
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->fault, static_cast<std::uint32_t>(RPC_S_OUT_OF_RESOURCES));
  EXPECT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 0; }));
}

TEST_F(ServerAsync, CancelledOrphanedOrAbandonedCallsShowIt) {
  auto client = Connect();
  auto leaving = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  const auto abandoned = leaving.Open(kOpenSubscription);
  const auto cancelled = client.StartWait(kWait, subscription.token);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 1; }));
  const auto orphaned = client.StartWait(kWait, subscription.token);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 2; }));
  leaving.StartWait(kWait, abandoned.token);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 3; }));

  const auto testCancel = [&](std::size_t i) {
    return RpcServerTestCancel(RpcAsyncGetCallHandle(server_.pending[i].state));
  };
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(testCancel(i), RPC_S_CALL_IN_PROGRESS);
  host::rpc::Bytes bytes;
  host::rpc::AppendCoCancel(cancelled, bytes);
  host::rpc::AppendOrphaned(orphaned, bytes);
  host::rpc::AppendCoCancel(4711, bytes);  // a call that does not exist
  client.Send(bytes);
  leaving.Close();
  for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(Eventually([&] { return testCancel(i) == RPC_S_OK; }));

  // All three are still the server's to complete; the orphaned one is answered to nobody.
  for (int i = 0; i < 3; ++i) EXPECT_EQ(CompleteNext(1), RPC_S_OK);
  const auto reply = client.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header.callId, cancelled);
  EXPECT_FALSE(client.Receive(50ms));
}

// A client that asks without reading: thousands of its replies are handed over, none of them holds up another client.
TEST_F(ServerAsync, AStuckReaderDelaysNobody) {
  auto stuck = Connect();
  auto other = Connect();
  const int small = 4096;
  setsockopt(stuck.socket(), SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
  const auto subscription = stuck.Open(kOpenSubscription);
  const auto othersOwn = other.Open(kOpenSubscription);
  constexpr std::size_t kWaits = 7000;
  std::thread asking([&] {
    for (std::size_t i = 0; i < kWaits; ++i) stuck.StartWait(kWait, subscription.token);
  });
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == kWaits; }));
  asking.join();
  other.StartWait(kWait, othersOwn.token);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == kWaits + 1; }));
  const auto pending = std::exchange(server_.pending, {});
  const auto before = std::chrono::steady_clock::now();
  for (const auto& wait : pending) ASSERT_EQ(RpcAsyncCompleteCall(wait.state, nullptr), RPC_S_OK);
  EXPECT_LT(std::chrono::steady_clock::now() - before, 5s);
  ASSERT_TRUE(other.Receive(2s));
  EXPECT_EQ(other.Work(2).number, 2u);
  const auto unsent = host::rpc::ServerStatus().unsentBytes;
  EXPECT_GT(unsent, 256u * 1024);

  // While so much is unsent its requests stay unread; once it reads everything comes, and it is served again.
  stuck.StartWork(9);
  EXPECT_EQ(other.Work(3).number, 3u);
  EXPECT_EQ(host::rpc::ServerStatus().unsentBytes, unsent);
  for (std::size_t i = 0; i < kWaits; ++i) ASSERT_TRUE(stuck.Receive()) << i;
  const auto last = stuck.Receive();
  ASSERT_TRUE(last);
  EXPECT_EQ(stuck.ReadAnswer(kWork, *last).arguments[2].number, 9u);
  EXPECT_EQ(host::rpc::ServerStatus().unsentBytes, 0u);
}

// Threads complete while the client leaves: nothing is lost, nothing is ended twice.
TEST_F(ServerAsync, CompletionsRaceWithTheEndOfTheConnection) {
  for (int round = 0; round < 50; ++round) {
    auto client = Connect();
    const auto subscription = client.Open(kOpenSubscription);
    for (int i = 0; i < 20; ++i) client.StartWait(kWait, subscription.token);
    ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 20; }));
    const auto pending = std::exchange(server_.pending, {});
    std::thread completing([&] {
      for (const auto& wait : pending) EXPECT_EQ(RpcAsyncCompleteCall(wait.state, nullptr), RPC_S_OK);
    });
    client.Close();
    completing.join();
  }
}

TEST_F(ServerAsync, UnregisteringWaitsForPendingCallsToBeAnsweredNotRead) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  client.StartWait(kWait, subscription.token);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 1; }));
  std::atomic<bool> unregistered = false;
  std::thread stopping([&] {
    EXPECT_EQ(RpcServerUnregisterIf(Handle(kTestInterface), nullptr, TRUE), RPC_S_OK);
    unregistered = true;
  });
  registered_ = false;
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(unregistered);
  EXPECT_EQ(CompleteNext(6), RPC_S_OK);
  stopping.join();
  ASSERT_TRUE(client.Receive());
  EXPECT_EQ(host::rpc::ContextHandleCount(), 1u) << "handles outlive the interface's registration";
  client.Close();
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns().size() == 1; }));
}

}  // namespace
