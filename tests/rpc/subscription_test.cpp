// Subscriptions and asynchronous waits, through the running service: results, order and log lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/kernel/thread_pool.h"
#include "rpc/event_notify_list.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Lines = std::vector<std::string>;

namespace {

class Subscription : public testing::Test {
 protected:
  void SetUp() override {
    service.StartAndSettle();
    // The listening thread may begin late.
    ASSERT_TRUE(service.Log().WaitFor("worker thread of listening"));
  }

  void Press(unsigned number) {
    const std::size_t before = service.Polls();
    ASSERT_TRUE(service.Device().Press(number));
    service.AwaitPolls(before + 1);
  }

  // What was logged since the last look, once the thread pool has nothing left to do; but not what the user-session
  // notifier says where nobody is logged on.
  Lines Logged() {
    host::WaitForThreadPoolIdle();
    Lines lines = service.Log().Take();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("hkd04a7 - uwpassist ") || line.starts_with("hkd04a7, fail dup token=");
    });
    return lines;
  }

  // Whether `times` completions since the last look are over: a client has its reply before the last line is logged.
  bool Completed(std::size_t times) {
    return service.Log().WaitFor("hkd04a7 - rpcserver - complete ret=0x00000000\n", times);
  }

  ServiceProcess service;
};

bool NoSubscriptionIsLeft() {
  const Quorvex::PC::Common::MutexLock hold(Quorvex::PC::Hkd04a7::Service::g_RpcEventNotifyListLock);
  return Quorvex::PC::Hkd04a7::Service::g_RpcEventNotifyList.empty();
}

TEST_F(Subscription, LogsEachStepAsItIsMade) {
  RpcClient client;
  Logged();
  ASSERT_EQ(client.Create(), 0u);
  EXPECT_THAT(Logged(), ElementsAre("hkd04a7 - rpcserver - create\n"));

  auto wait = client.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  EXPECT_THAT(Logged(),
              ElementsAre("hkd04a7 - rpcserver - waitasync\n", "hkd04a7 - rpcserver - WaitEventAsync\n",
                          "hkd04a7 - rpcserver - WaitEventAsync 2\n", "hkd04a7 - rpcserver - WaitEventAsync 4\n"));

  Press(1);
  EXPECT_EQ(wait->Finish().Text(), "0 (1, 1, 0)");
  EXPECT_THAT(Logged(), ElementsAre("hkd04a7 - rpcserver - notify\n", "hkd04a7 - rpcserver - notify -2\n",
                                    "hkd04a7 - rpcserver - notify -core 1\n", "hkd04a7 - rpcserver - notify -core 3\n",
                                    "hkd04a7 - rpcserver - complete\n", "hkd04a7 - rpcserver - complete call\n",
                                    "hkd04a7 - rpcserver - complete ret=0x00000000\n"));

  Press(3);
  EXPECT_THAT(Logged(),
              ElementsAre("hkd04a7 - rpcserver - notify\n", "hkd04a7 - rpcserver - notify -2\n",
                          "hkd04a7 - rpcserver - notify -core 1\n", "hkd04a7 - rpcserver - notify -core 2\n"));
  EXPECT_EQ(client.WaitForEvent().Text(), "0 (3, 4, 0)");
  ASSERT_TRUE(Completed(1));
  EXPECT_THAT(Logged(),
              ElementsAre("hkd04a7 - rpcserver - waitasync\n", "hkd04a7 - rpcserver - WaitEventAsync\n",
                          "hkd04a7 - rpcserver - WaitEventAsync 2\n", "hkd04a7 - rpcserver - WaitEventAsync 3\n",
                          "hkd04a7 - rpcserver - complete\n", "hkd04a7 - rpcserver - complete call\n",
                          "hkd04a7 - rpcserver - complete ret=0x00000000\n"));

  auto pending = client.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  Logged();
  ASSERT_EQ(client.Destroy(), 0u);
  EXPECT_EQ(client.Subscription(), nullptr);
  EXPECT_EQ(pending->Finish().Text(), "800704c7 (0, 0, 0)");
  EXPECT_THAT(Logged(),
              ElementsAre("hkd04a7 - rpcserver - destroy\n", "hkd04a7 - rpcserver - complete\n",
                          "hkd04a7 - rpcserver - complete call\n", "hkd04a7 - rpcserver - complete ret=0x00000000\n"));
}

TEST_F(Subscription, RunsDownWithItsConnection) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  Logged();
  client.Vanish();
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!NoSubscriptionIsLeft() && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
  EXPECT_THAT(Logged(), ElementsAre("hkd04a7 - rpcserver - rundown\n", "hkd04a7 - rpcserver - destroy\n"));
  Press(1);
  EXPECT_THAT(Logged(), ElementsAre("hkd04a7 - rpcserver - notify\n")) << "the subscription is gone";
}

TEST_F(Subscription, KeepsEveryEventInOrderForEverySubscriber) {
  RpcClient first, second, idle;
  for (RpcClient* client : {&first, &second, &idle}) ASSERT_EQ(client->Create(), 0u);
  for (unsigned number : {2u, 5u, 1u}) Press(number);
  for (RpcClient* client : {&first, &second}) {
    EXPECT_EQ(client->WaitForEvent().Text(), "0 (2, 2, 0)");
    EXPECT_EQ(client->WaitForEvent().Text(), "0 (5, 10, 0)");
    EXPECT_EQ(client->WaitForEvent().Text(), "0 (1, 1, 0)");
  }
  auto wait = first.BeginWait();
  EXPECT_TRUE(wait->IsOutstanding());
  Press(7);
  EXPECT_EQ(wait->Finish().Text(), "0 (7, 40, 0)");
}

TEST_F(Subscription, AllowsOneWaitAtATime) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  auto wait = client.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  const WaitResult refused = client.WaitForEvent();
  EXPECT_EQ(static_cast<DWORD>(refused.status), 0x800706FFu) << refused.Text();
  Press(1);
  EXPECT_EQ(wait->Finish().Text(), "0 (1, 1, 0)") << "the first wait stays";
}

TEST_F(Subscription, ReplacesAWaitItsClientHasCancelled) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  auto cancelled = client.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  cancelled->Cancel();
  auto next = client.BeginWait();
  EXPECT_EQ(cancelled->Finish().Text(), "800704c7 (0, 0, 0)");
  next->Cancel();
  ASSERT_EQ(client.Destroy(), 0u);
  EXPECT_EQ(next->Finish().Text(), "1 (0, 0, 0)") << "cancelled by its client before";
}

TEST_F(Subscription, StopEndsEveryWaitAndAcceptsNoMore) {
  RpcClient waiting, late;
  ASSERT_EQ(waiting.Create(), 0u);
  ASSERT_EQ(late.Create(), 0u);
  auto wait = waiting.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  std::string refused;
  // All subscriptions have stopped accepting when the interface is unregistered.
  host::AtCall("RpcServerUnregisterIf", [&] {
    refused = late.WaitForEvent().Text();
    EXPECT_TRUE(Completed(2));
  });
  Logged();
  EXPECT_EQ(service.Stop(), 0u);
  EXPECT_EQ(wait->Finish().Text(), "800704c7 (0, 0, 0)");
  EXPECT_EQ(refused, "80070015 (0, 0, 0)");
  const Lines expected = {
      "hkd04a7 StopWorker() 1\n",
      "hkd04a7 on stop request 1\n",
      "hkd04a7 on stop request 2\n",
      "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::~CRpcServer enter\n",
      "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop enter\n",
      "hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -1\n",
      "hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -2\n",
      "hkd04a7 - rpcserver - complete\n",
      "hkd04a7 - rpcserver - complete call\n",
      "hkd04a7 - rpcserver - complete ret=0x00000000\n",
      "hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -2\n",
      "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 1\n",
      "hkd04a7 - rpcserver - waitasync\n",
      "hkd04a7 - rpcserver - WaitEventAsync\n",
      "hkd04a7 - rpcserver - WaitEventAsync - not accept\n",
      "hkd04a7 - rpcserver - complete\n",
      "hkd04a7 - rpcserver - complete call\n",
      "hkd04a7 - rpcserver - complete ret=0x00000000\n",
      "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 2\n",
      "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 3\n",
  };
  Lines logged = Logged();
  // What ends with the interface (rundowns of the open handles) may come in between.
  std::erase_if(logged, [](const std::string& line) {
    return line == "hkd04a7 - rpcserver - rundown\n" || line == "hkd04a7 - rpcserver - destroy\n";
  });
  EXPECT_THAT(logged, ElementsAreArray(expected));
}

// A subscription that is made behind the stop cannot hold it up either.
TEST_F(Subscription, StopAcceptsNoWaitOfANewSubscription) {
  RpcClient late;
  std::unique_ptr<Wait> wait;
  host::AtCall("RpcServerUnregisterIf", [&] {
    EXPECT_EQ(late.Create(), 0u);
    wait = late.BeginWait();
    EXPECT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync\n"));
  });
  EXPECT_EQ(service.Stop(), 0u);
  EXPECT_EQ(wait->Finish().Text(), "80070015 (0, 0, 0)");
}

// Last: what it leaves in the list stays there as long as the process.
TEST_F(Subscription, StaysInTheListWhenItsDeletionCannotBeStarted) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  host::FailCall("TrySubmitThreadpoolCallback", 1, ERROR_NOT_ENOUGH_MEMORY);
  Logged();
  ASSERT_EQ(client.Destroy(), 0u);
  EXPECT_THAT(Logged(),
              ElementsAre("hkd04a7 - rpcserver - destroy\n", "Failed to start DeleteCRpcEventNotifySimpleCallback()"));
  Press(1);
  EXPECT_THAT(Logged(), testing::Contains("hkd04a7 - rpcserver - notify -core 2\n"));
}

}  // namespace
