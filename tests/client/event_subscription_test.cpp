#include "client/event_subscription.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

#include "tests/client/scripted_service.h"

namespace client {
namespace {

using Outcome = EventSubscription::Outcome;
using std::chrono::milliseconds;

constexpr milliseconds kLong{10000};

class EventSubscriptionTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(connection_.Open().Ok());
    subscription_.emplace(connection_);
  }

  void Start(EventSubscription::EventCallback onEvent = nullptr) {
    const Status status = subscription_->Start(std::move(onEvent));
    ASSERT_TRUE(status.Ok()) << Describe(status);
  }

  // "1 5 0", or the outcome when it is no event.
  std::string Next(milliseconds timeout = kLong) {
    Event event;
    switch (subscription_->Next(timeout, &event)) {
      case Outcome::Event:
        return std::to_string(event.id) + ' ' + std::to_string(event.data1) + ' ' + std::to_string(event.data2);
      case Outcome::TimedOut:
        return "timed out";
      case Outcome::Ended:
        return "ended";
    }
    return "";
  }

  ScriptedService service_;
  Connection connection_;
  std::optional<EventSubscription> subscription_;
};

TEST_F(EventSubscriptionTest, QueuesInOrderWhatComesWhileNobodyLooks) {
  Start();
  constexpr DWORD kEvents = 500;
  for (DWORD i = 1; i <= kEvents; ++i) ASSERT_TRUE(service_.Deliver(1 + i % 42, i, ~i));
  for (DWORD i = 1; i <= kEvents; ++i) {
    Event event;
    ASSERT_EQ(subscription_->Next(kLong, &event), Outcome::Event);
    ASSERT_EQ(event.id, 1 + i % 42);
    ASSERT_EQ(event.data1, i);
    ASSERT_EQ(event.data2, ~i);
  }
  EXPECT_EQ(Next(milliseconds(1)), "timed out");
  EXPECT_TRUE(subscription_->End().Ok());
}

TEST_F(EventSubscriptionTest, PassesOverARecordWithoutEvent) {
  Start();
  ASSERT_TRUE(service_.Deliver(0, 1, 2));
  ASSERT_TRUE(service_.Deliver(37, 0, 0));
  EXPECT_EQ(Next(), "37 0 0");
}

TEST_F(EventSubscriptionTest, HandsOutWhatIsQueuedBeforeTheEnd) {
  Start();
  ASSERT_TRUE(service_.Deliver(1, 5, 0));
  ASSERT_TRUE(service_.Deliver(3, 5, 0));
  ASSERT_TRUE(service_.Refuse(static_cast<HRESULT>(0x80070015)));
  EXPECT_EQ(Next(), "1 5 0");
  EXPECT_EQ(Next(), "3 5 0");
  EXPECT_EQ(Next(), "ended");
  EXPECT_EQ(Next(), "ended");
  EXPECT_TRUE(subscription_->End().ServiceStopping());
  EXPECT_FALSE(subscription_->End().ServiceNotReachable());
}

TEST_F(EventSubscriptionTest, TellsHowTheWaitWasAborted) {
  Start();
  ASSERT_TRUE(service_.Abort(0x800706FF));
  EXPECT_EQ(Next(), "ended");
  EXPECT_EQ(subscription_->End().Code(), 0x800706FFu);
  EXPECT_FALSE(subscription_->End().ServiceStopping());
}

TEST_F(EventSubscriptionTest, CancelEndsTheWaitAndWhoeverWaitsForIt) {
  Start();
  auto next = std::async(std::launch::async, [this] { return Next(); });
  subscription_->Cancel();
  EXPECT_EQ(next.get(), "ended");
  EXPECT_EQ(subscription_->End().Code(), 0x800704C7u);
  subscription_->Cancel();
  subscription_.reset();
  EXPECT_EQ(service_.Destroyed(), 1u);
}

TEST_F(EventSubscriptionTest, EndsInTimeAlthoughTheServiceLeavesTheWaitPending) {
  service_.LeaveWaitsPending();
  Start();
  subscription_.reset();
  EXPECT_EQ(service_.Destroyed(), 1u);
  EXPECT_TRUE(service_.Refuse(1)) << "the call is still the service's to complete";
}

// Events and the end come from another thread than the one that ends the subscription.
TEST_F(EventSubscriptionTest, CanEndWhileEventsArrive) {
  Start();
  std::thread deliverer([this] {
    for (DWORD i = 1; service_.Deliver(1, i, 0); ++i) {
    }
  });
  EXPECT_EQ(Next(), "1 1 0");
  subscription_.reset();
  deliverer.join();
  EXPECT_EQ(service_.Destroyed(), 1u);
}

TEST_F(EventSubscriptionTest, CallsBackInsteadOfQueueing) {
  std::promise<Event> called;
  Start([&called](const Event& event) { called.set_value(event); });
  const auto before = std::chrono::steady_clock::now();
  ASSERT_TRUE(service_.Deliver(41, 5, 3));
  const Event event = called.get_future().get();
  EXPECT_EQ(event.id, 41u);
  EXPECT_EQ(event.data2, 3u);
  EXPECT_GE(event.arrived, before);
  EXPECT_EQ(Next(milliseconds(1)), "timed out");
}

TEST_F(EventSubscriptionTest, AFailedCreateIsToldWithItsOwnCode) {
  service_.AnswerCreate(static_cast<HRESULT>(0x8007000E));
  const Status status = subscription_->Start();
  EXPECT_EQ(Describe(status), "Hkd04a7Rpc_EventNotify_Create answered 0x8007000E (ERROR_OUTOFMEMORY: out of memory)");
  EXPECT_FALSE(status.ServiceNotReachable());
}

TEST(EventSubscriptionAloneTest, SaysThatNobodyServes) {
  Connection connection;
  ASSERT_TRUE(connection.Open().Ok());
  EventSubscription subscription(connection);
  const Status status = subscription.Start();
  EXPECT_EQ(status.rpc, RPC_S_SERVER_UNAVAILABLE);
  EXPECT_TRUE(status.ServiceNotReachable());
}

}  // namespace
}  // namespace client
