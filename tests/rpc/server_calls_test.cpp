// Calls and the threads that run them.
#include <sys/socket.h>

#include <atomic>
#include <new>
#include <set>
#include <thread>

#include "platform/host/rpc/server_interfaces.h"
#include "platform/host/rpc/server_status.h"
#include "tests/rpc/server_fixture.h"

using namespace std::chrono_literals;
using host::rpc::Syntax;

namespace {

using ServerCalls = ServerFixture;

TEST_F(ServerCalls, BothSyntaxesReachTheSameRoutines) {
  server_.use = [](std::uint32_t number) { return number + 1; };
  for (const Syntax syntax : {Syntax::Ndr, Syntax::Ndr64}) {
    RawClient client(kTestEndpoint);
    ASSERT_NE(client.Bind(kTestInterface, syntax), 0u);
    EXPECT_EQ(client.Work(41).number, 42u);
    EXPECT_EQ(client.Length(u"five.").number, 5u);
    const auto session = client.Open(kOpenSession);
    EXPECT_FALSE(session.token.IsNull());
    EXPECT_EQ(client.Use(kUseSession, session.token, 9).number, 10u);
    const auto closed = client.Close(kCloseSession, session.token);
    EXPECT_EQ(closed.fault, 0u);
    EXPECT_TRUE(closed.token.IsNull());
  }
}

TEST_F(ServerCalls, RequestsInFragmentsArePutTogether) {
  auto client = Connect();
  for (const std::size_t length : {700u, 4000u, 100000u}) {
    EXPECT_EQ(client.Length(std::u16string(length, u'x'), 1432).number, length);
  }
}

TEST_F(ServerCalls, PipelinedRequestsAreAllAnswered) {
  auto client = Connect();
  std::uint32_t last = 0;
  for (std::uint32_t i = 0; i < 500; ++i) last = client.StartWork(i);
  std::uint32_t sum = 0;
  std::set<std::uint32_t> answered;  // in their order unless one of them lasts, as any may on a busy machine
  for (std::uint32_t i = 0; i < 500; ++i) {
    const auto reply = client.Receive();
    ASSERT_TRUE(reply);
    EXPECT_LE(reply->header.callId, last);
    EXPECT_TRUE(answered.insert(reply->header.callId).second) << "each once";
    sum += client.ReadAnswer(kWork, *reply).arguments[2].number;
  }
  EXPECT_EQ(sum, 499u * 500u / 2);
}

// What the server has not run yet must lie in the sockets, which hold little, and not in the server's memory.
TEST_F(ServerCalls, ASenderGetsNotFarAheadOfItsReplies) {
  constexpr std::uint32_t kRequests = 60'000, kMostAhead = 25'000;
  auto client = Connect();
  host::rpc::Bytes request;
  host::rpc::AppendRequest(1, {.procedure = 0xFFFF}, host::rpc::kMaxFragment, request);  // answered by a fault
  host::rpc::Bytes hundred;
  for (int i = 0; i < 100; ++i) hundred.insert(hundred.end(), request.begin(), request.end());
  std::atomic<std::uint32_t> answered = 0;
  std::thread reader([&] {
    while (answered < kRequests && client.Receive()) ++answered;
  });
  for (std::uint32_t sent = 0; sent < kRequests; sent += 100) EXPECT_TRUE(client.Send(hundred));
  EXPECT_GE(answered + kMostAhead, kRequests);
  reader.join();
  EXPECT_EQ(answered, kRequests);
}

TEST_F(ServerCalls, LongCallsStallNobody) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    if (number == 1) gate.Pass();
    return number;
  };
  auto busy = Connect();
  auto other = Connect();
  const auto longCall = busy.StartWork(1);
  const auto behindIt = busy.StartWork(2);
  const auto reply = busy.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header.callId, behindIt) << "a call behind a long one on the same connection overtakes it";
  for (std::uint32_t i = 10; i < 30; ++i) EXPECT_EQ(other.Work(i).number, i);
  gate.Open();
  const auto late = busy.Receive();
  ASSERT_TRUE(late);
  EXPECT_EQ(late->header.callId, longCall);
}

TEST_F(ServerCalls, FiftyLongCallsRunAtOnceAndTheThreadsGoAgain) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    return number;
  };
  auto client = Connect();
  for (std::uint32_t i = 0; i < 50; ++i) client.StartWork(i);
  EXPECT_TRUE(Eventually([&] { return server_.running == 50; }));
  EXPECT_TRUE(Eventually([] { return host::rpc::ServerStatus().threads >= 51; })) << "one of them polls";
  gate.Open();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(client.Receive());
  host::rpc::SetThreadLinger(20ms);
  EXPECT_TRUE(Eventually([] { return host::rpc::ServerStatus().threads <= 3; }));
  EXPECT_EQ(client.Work(7).number, 7u);
}

// All clients of a test are one process, and no process gets more than half.
TEST_F(ServerCalls, AboveTheLimitTheServerIsTooBusyButWaitsAreTaken) {
  constexpr unsigned kAtOnce = kTestMaxCalls / 2;
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    return number;
  };
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription);
  for (std::uint32_t i = 0; i < kAtOnce; ++i) client.StartWork(i);
  EXPECT_TRUE(Eventually([&] { return server_.running == static_cast<int>(kAtOnce); }));
  EXPECT_EQ(client.Work(1).fault, host::rpc::kFaultServerTooBusy);
  const auto wait = client.StartWait(kWait, subscription.token);
  EXPECT_TRUE(Eventually([&] { return server_.PendingCount() == 1; }));
  EXPECT_EQ(CompleteNext(5), RPC_S_OK);
  const auto reply = client.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header.callId, wait);
  gate.Open();
  for (std::uint32_t i = 0; i < kAtOnce; ++i) ASSERT_TRUE(client.Receive());
  EXPECT_EQ(client.Work(3).number, 3u);
  EXPECT_EQ(server_.mostRunning, static_cast<int>(kAtOnce));
}

TEST_F(ServerCalls, AClientLeavesOthersTheirPart) {
  host::rpc::InterfaceTable table;
  ASSERT_EQ(table.Register(kTestInterface, 9, ""), RPC_S_OK);
  auto& interface = *table.Find(kTestInterface.uuid, 1, 0);
  host::rpc::ClientShare greedy, modest;
  const auto admitted = [&](host::rpc::ClientShare& client, TestProcedure procedure) {
    return table.Admit(interface, kTestInterface.procedures[procedure], client) == host::rpc::Admission::Admitted;
  };
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(admitted(greedy, kWork));
  EXPECT_FALSE(admitted(greedy, kWork)) << "more than half";
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(admitted(modest, kWork));
  EXPECT_FALSE(admitted(modest, kWork)) << "all are taken";
  table.RoutineEnded(interface, kTestInterface.procedures[kWork], greedy);
  EXPECT_TRUE(admitted(modest, kWork));
  EXPECT_FALSE(admitted(greedy, kWork)) << "all are taken";
  table.RoutineEnded(interface, kTestInterface.procedures[kWork], modest);
  greedy.handles = host::rpc::kMaxHandlesOfClient;
  EXPECT_FALSE(admitted(greedy, kOpenSession));
  EXPECT_TRUE(admitted(greedy, kUseSession));
  greedy.asynchronousCalls = host::rpc::kMaxAsynchronousCallsOfClient - 1;
  EXPECT_TRUE(admitted(greedy, kWait)) << "no matter how many others run";
  EXPECT_FALSE(admitted(greedy, kWait));
  EXPECT_TRUE(admitted(modest, kWait));
}

TEST_F(ServerCalls, WhatARoutineRaisesBecomesAFault) {
  server_.use = [](std::uint32_t number) -> std::uint32_t {
    if (number == 0) throw std::bad_alloc();
    RpcRaiseException(static_cast<RPC_STATUS>(number));
  };
  auto client = Connect();
  const struct {
    std::uint32_t raised, fault;
  } cases[] = {{RPC_S_PROCNUM_OUT_OF_RANGE, 0x1C010002},
               {RPC_X_BAD_STUB_DATA, 0x6F7},
               {RPC_S_ACCESS_DENIED, 5},
               {1234567, 1234567}};
  for (const auto& each : cases) EXPECT_EQ(client.Work(each.raised).fault, each.fault);
  EXPECT_NE(client.Work(0).fault, RawClient::kNoAnswer);
  EXPECT_NE(client.Work(0).fault, 0u);
}

TEST_F(ServerCalls, UnregisteringWaitsForCallsAndRefusesNewOnes) {
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    gate.Pass();
    return number;
  };
  auto client = Connect();
  const auto running = client.StartWork(1);
  ASSERT_TRUE(Eventually([&] { return server_.running == 1; }));
  std::atomic<bool> unregistered = false;
  std::thread stopping([&] {
    EXPECT_EQ(RpcServerUnregisterIf(Handle(kTestInterface), nullptr, TRUE), RPC_S_OK);
    unregistered = true;
  });
  registered_ = false;
  EXPECT_TRUE(Eventually([&] { return client.Open(kOpenSession).fault == host::rpc::kFaultUnknownInterface; }));
  EXPECT_FALSE(unregistered);
  gate.Open();
  stopping.join();
  const auto reply = client.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header.callId, running);
  RawClient late(kTestEndpoint);
  EXPECT_EQ(late.Bind(kTestInterface), 0u);
  EXPECT_EQ(RpcServerUnregisterIf(Handle(kTestInterface), nullptr, TRUE), RPC_S_UNKNOWN_IF);
}

}  // namespace
