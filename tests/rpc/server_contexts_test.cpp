// Context handles and associations.
#include <thread>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/server_status.h"
#include "tests/rpc/server_fixture.h"

using namespace std::chrono_literals;
using host::rpc::kFaultContextMismatch;
using Lines = std::vector<std::string>;

namespace {

using ServerContexts = ServerFixture;

TEST_F(ServerContexts, CallsOnASerializedHandleTakeTurnsWithoutAThread) {
  Gate gate;
  std::vector<std::uint32_t> order;  // guarded by the turns
  server_.use = [&](std::uint32_t number) {
    if (number == 0) gate.Pass();
    order.push_back(number);
    return number;
  };
  auto client = Connect();
  const auto session = client.Open(kOpenSession).token;
  const unsigned before = host::rpc::ServerStatus().threads;
  constexpr std::uint32_t kCalls = host::rpc::kMaxLine + 1;  // one of them runs
  for (std::uint32_t i = 0; i < kCalls; ++i) client.StartUse(kUseSession, session, i);
  ASSERT_TRUE(Eventually([&] { return server_.running == 1 && host::rpc::OpenCallCount() == kCalls; }));
  EXPECT_LE(host::rpc::ServerStatus().threads, before + 3u);
  EXPECT_EQ(client.Use(kUseSession, session, 1).fault, host::rpc::kFaultServerTooBusy) << "the line is full";
  EXPECT_EQ(client.Open(kOpenSubscription).fault, 0u) << "others go on";
  gate.Open();
  for (std::uint32_t i = 0; i < kCalls; ++i) ASSERT_TRUE(client.Receive());
  EXPECT_EQ(server_.mostRunning, 1);
  for (std::uint32_t i = 0; i < kCalls; ++i) EXPECT_EQ(order[i], i);
}

TEST_F(ServerContexts, CallsOnOtherHandlesRunAtOnce) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    return number;
  };
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription).token;
  const auto one = client.Open(kOpenSession).token;
  const auto two = client.Open(kOpenSession).token;
  client.StartUse(kUseSubscription, subscription, 1);
  client.StartUse(kUseSubscription, subscription, 2);
  client.StartUse(kUseSession, one, 3);
  client.StartUse(kUseSession, two, 4);
  EXPECT_TRUE(Eventually([&] { return server_.running == 4; }));
  gate.Open();
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(client.Receive());
}

TEST_F(ServerContexts, ACallThatFindsItsHandleClosedIsRefused) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    if (number == 1) gate.Pass();
    return number;
  };
  auto client = Connect();
  const auto session = client.Open(kOpenSession).token;
  const auto first = client.StartUse(kUseSession, session, 1);
  host::rpc::Call close;
  close.arguments.resize(1);
  close.arguments[0].token = session;
  client.SendCall(first + 100, kCloseSession, close);
  const auto behind = client.StartUse(kUseSession, session, 2);
  ASSERT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 3; }));
  gate.Open();
  for (const auto& [call, fault] :
       {std::pair{first, 0u}, std::pair{first + 100, 0u}, std::pair{behind, kFaultContextMismatch}}) {
    const auto reply = client.Receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->header.callId, call);
    EXPECT_EQ(reply->fault, fault);
  }
  EXPECT_EQ(host::rpc::ContextHandleCount(), 0u);
}

TEST_F(ServerContexts, AHandleDestroyedWhileCallsRunOnItHarmsNothing) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    return number;
  };
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription).token;
  client.StartUse(kUseSubscription, subscription, 5);
  client.StartWait(kWait, subscription);
  ASSERT_TRUE(Eventually([&] { return server_.running == 1 && server_.PendingCount() == 1; }));
  EXPECT_EQ(client.Close(kCloseSubscription, subscription).fault, 0u);
  EXPECT_EQ(client.Use(kUseSubscription, subscription, 6).fault, kFaultContextMismatch);
  gate.Open();
  EXPECT_TRUE(client.Receive());
  EXPECT_EQ(CompleteNext(1), RPC_S_OK);
  EXPECT_TRUE(client.Receive());
  client.Close();
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
  EXPECT_EQ(server_.Rundowns(), Lines{}) << "a closed handle is not run down";
}

TEST_F(ServerContexts, TheLastConnectionTakesTheHandlesAlongInOrder) {
  RawClient first(kTestEndpoint);
  const auto group = first.Bind(kTestInterface);
  ASSERT_NE(group, 0u);
  auto second = Connect(group);
  const auto session = first.Open(kOpenSession).token;
  second.Open(kOpenSubscription);
  first.Open(kOpenSession);
  EXPECT_EQ(second.Use(kUseSession, session, 8).number, 8u) << "handles belong to the association";
  first.Close();
  EXPECT_EQ(second.Use(kUseSession, session, 9).number, 9u);
  EXPECT_EQ(server_.Rundowns(), Lines{});
  second.Close();
  const Lines expected = {"session 1", "subscription 2", "session 3"};
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns() == expected; }));
  RawClient late(kTestEndpoint);
  EXPECT_EQ(late.Bind(kTestInterface, host::rpc::Syntax::Ndr64, group), 0u) << "the association is gone";
}

TEST_F(ServerContexts, RundownOfASerializedHandleWaitsForItsCall) {
  Gate gate;
  std::atomic<int> ran = 0;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    ++ran;
    return number;
  };
  auto client = Connect();
  const auto busy = client.Open(kOpenSession).token;
  client.Open(kOpenSession);
  client.StartUse(kUseSession, busy, 1);
  ASSERT_TRUE(Eventually([&] { return server_.running == 1; }));
  client.StartUse(kUseSession, busy, 2);
  ASSERT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 2; }));
  client.Close();
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns() == Lines{"session 2"}; })) << "the others do not wait";
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(host::rpc::ContextHandleCount(), 1u);
  gate.Open();
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns() == Lines{"session 2", "session 1"}; }));
  EXPECT_EQ(ran, 1) << "what stood in line is not run for a client that is gone";
}

TEST_F(ServerContexts, PendingCallsDoNotHoldBackTheRundownUnlessSerialized) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription).token;
  const auto session = client.Open(kOpenSession).token;
  client.StartWait(kWait, subscription);
  client.StartWait(kSessionWait, session);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 2; }));
  client.Close();
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns() == Lines{"subscription 1"}; }));
  EXPECT_EQ(CompleteNext(1), RPC_S_OK);
  EXPECT_EQ(CompleteNext(1), RPC_S_OK);
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns() == Lines{"subscription 1", "session 2"}; }));
}

TEST_F(ServerContexts, AHandleMadeForAClientThatIsGoneIsRunDown) {
  auto client = Connect();
  client.Open(kOpenSession);
  server_.lock.lock();  // holds the routine that makes the second handle
  host::rpc::Call open;
  open.arguments.resize(2);
  client.SendCall(900, kOpenSubscription, open);
  EXPECT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 1; }));
  client.Close();
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
  server_.lock.unlock();
  EXPECT_TRUE(Eventually([&] { return server_.Rundowns().size() == 2; }));
}

}  // namespace
