// Replies that are kept to be sent together: to whom they go, what a socket does not take, whose batch it is.
#include "platform/host/rpc/reply_batch.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "platform/host/rpc/server_call.h"
#include "platform/host/rpc/server_posted_tasks.h"
#include "platform/host/rpc/server_status.h"
#include "tests/rpc/server_fixture.h"

using namespace std::chrono_literals;
using host::rpc::Bytes;
using host::rpc::ReplyBatch;
using host::rpc::ServerConnection;

namespace {

Bytes Filled(std::size_t size, int with) {
  return Bytes(size, static_cast<std::byte>(with));
}

// A connection with one call on it, and the client's end of its socket.
class BatchedConnection {
 public:
  explicit BatchedConnection(ReplyBatch& batch) : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends_), 0);
    connection_ = std::make_unique<ServerConnection>(2, ends_[0], host::rpc::Peer{}, epoll_, batch);
    EXPECT_TRUE(connection_->Watch());
  }
  ~BatchedConnection() {
    CloseClient();
    close(epoll_);
  }
  BatchedConnection(const BatchedConnection&) = delete;
  BatchedConnection& operator=(const BatchedConnection&) = delete;

  ServerConnection& connection() { return *connection_; }

  void Reply(const Bytes& bytes) {
    ASSERT_TRUE(connection_->AddCall(1, call_));
    connection_->SendReply(1, bytes);
  }
  Bytes Read() {
    Bytes bytes(1u << 20);
    const ssize_t size = recv(ends_[1], bytes.data(), bytes.size(), 0);
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return bytes;
  }
  void FillSocket() {
    while (send(ends_[0], "x", 1, MSG_NOSIGNAL) == 1) continue;
  }
  void CloseClient() {
    if (ends_[1] >= 0) close(std::exchange(ends_[1], -1));
  }

 private:
  host::rpc::InterfaceTable interfaces_;
  host::rpc::ContextTable contexts_;
  host::rpc::PostedTasks posted_;
  host::rpc::ServerCall call_{{interfaces_, contexts_, posted_}, {}};
  int epoll_;
  int ends_[2] = {-1, -1};
  std::unique_ptr<ServerConnection> connection_;
};

class ReplyBatchTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!ReplyBatch().Usable()) GTEST_SKIP() << "the system offers no ring";
  }
};

TEST_F(ReplyBatchTest, SendsAllAtTheFlushAndGivesBackWhatASocketDoesNotTake) {
  ReplyBatch batch;
  BatchedConnection good(batch);
  BatchedConnection other(batch);
  BatchedConnection full(batch);
  BatchedConnection gone(batch);
  full.FillSocket();
  gone.CloseClient();
  batch.Open();
  const auto number = batch.Number();
  for (auto* client : {&good, &gone, &full, &other}) client->Reply(Filled(40, 1));
  EXPECT_TRUE(good.Read().empty());
  // What follows on the same connection does not overtake the reply.
  good.connection().Send(Filled(5, 2));
  EXPECT_TRUE(good.Read().empty());
  auto settled = std::async(std::launch::async, [&] { batch.Settle(); });
  EXPECT_EQ(settled.wait_for(20ms), std::future_status::timeout);
  batch.Flush();
  settled.get();
  EXPECT_NE(batch.Number(), number);
  EXPECT_EQ(good.Read(), Filled(40, 1));
  EXPECT_EQ(other.Read(), Filled(40, 1));
  good.connection().Flush();
  EXPECT_EQ(good.Read(), Filled(5, 2));

  EXPECT_EQ(full.connection().UnsentBytes(), 40u);
  full.connection().Send(Filled(5, 2));
  while (full.Read().size() > 0) continue;
  full.connection().Flush();
  auto both = Filled(40, 1);
  both.insert(both.end(), 5, std::byte{2});
  EXPECT_EQ(full.Read(), both);

  std::byte room[8];
  EXPECT_EQ(gone.connection().Receive(room), -1);
  EXPECT_EQ(gone.connection().UnsentBytes(), 0u);
}

TEST_F(ReplyBatchTest, BelongsToTheThreadThatOpenedIt) {
  ReplyBatch batch;
  BatchedConnection first(batch);
  BatchedConnection second(batch);
  first.Reply(Filled(8, 1));
  EXPECT_EQ(first.Read().size(), 8u);  // not open
  batch.Open();
  first.Reply(Filled(8, 1));
  std::thread([&] {
    second.Reply(Filled(8, 2));
    EXPECT_EQ(second.Read().size(), 8u);
    // Who has taken the polling over sends what was left, and from then on the first one sends by itself.
    EXPECT_TRUE(batch.LeftByAnother());
    batch.Flush();
    batch.Open();
    EXPECT_FALSE(batch.LeftByAnother());
  }).join();
  EXPECT_EQ(first.Read().size(), 8u);
  first.Reply(Filled(8, 3));
  EXPECT_EQ(first.Read().size(), 8u);
}

// Tasks that take their time one after the other do not hold the first one's reply back until the last has ended.
TEST_F(ReplyBatchTest, IsOverdueWhenItHasBeenOpenForLong) {
  ReplyBatch batch;
  EXPECT_FALSE(batch.Overdue());
  batch.Open();
  EXPECT_TRUE(Eventually([&] { return batch.Overdue(); }));
  std::thread([&] { EXPECT_FALSE(batch.Overdue()); }).join();
  batch.Flush();
  EXPECT_FALSE(batch.Overdue());
}

class RepliesTogether : public ServerFixture {};

// The short calls of a batch are answered although a long one among them has not ended.
TEST_F(RepliesTogether, ALongCallHoldsNoReplyBack) {
  constexpr std::uint32_t kFirst = 100;
  constexpr std::uint32_t kLong = 200;
  std::promise<void> allSent;
  auto sent = allSent.get_future().share();
  Gate gate;
  server_.use = [&](std::uint32_t number) {
    if (number == kFirst) sent.wait();
    if (number == kLong) gate.Pass();
    return number;
  };
  auto first = Connect();
  auto slow = Connect();
  std::vector<RawClient> quick;
  for (int i = 0; i < 8; ++i) quick.push_back(Connect());
  first.StartWork(kFirst);
  // While the polling thread is in the first call, all these come.
  for (std::size_t i = 0; i < quick.size(); ++i) {
    if (i == 4) slow.StartWork(kLong);
    quick[i].StartWork(1);
  }
  allSent.set_value();
  for (auto& client : quick) EXPECT_TRUE(client.Receive(5s));
  EXPECT_TRUE(first.Receive(5s));
  EXPECT_FALSE(slow.Receive(10ms));
  gate.Open();
  EXPECT_TRUE(slow.Receive(5s));
}

// A routine that computes has its turn taken away too while another call lasts.
TEST_F(RepliesTogether, ACallThatComputesHoldsNothingUpWhileAnotherLasts) {
  constexpr std::uint32_t kLong = 200;
  constexpr std::uint32_t kComputes = 300;
  Gate gate;
  std::atomic<bool> answered{false};
  server_.use = [&](std::uint32_t number) {
    if (number == kLong) gate.Pass();
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (number == kComputes && !answered && std::chrono::steady_clock::now() < end) continue;
    return number;
  };
  auto slow = Connect();
  auto computing = Connect();
  auto quick = Connect();
  slow.StartWork(kLong);
  ASSERT_TRUE(Eventually([&] { return server_.running == 1; }));
  ASSERT_EQ(quick.Work(1).number, 1u);
  computing.StartWork(kComputes);
  ASSERT_TRUE(Eventually([&] { return server_.running == 2; }));
  quick.StartWork(1);
  answered = quick.Receive(2s).has_value();
  EXPECT_TRUE(answered);
  EXPECT_TRUE(computing.Receive());
  gate.Open();
  EXPECT_TRUE(slow.Receive());
}

// What ends a connection is answered also behind a reply that was kept.
TEST_F(RepliesTogether, TheLastWordOfAConnectionIsSentBehindItsReplies) {
  auto first = Connect();
  auto other = Connect();
  auto leaving = Connect();
  Bytes secondBind;
  host::rpc::AppendBind(host::rpc::PduType::Bind, 9, {}, secondBind);
  server_.use = [&](std::uint32_t number) {
    if (number != 100) return number;
    other.StartWork(1);
    leaving.StartWork(1);
    leaving.StartWork(2);
    leaving.Send(secondBind);
    return number;
  };
  EXPECT_EQ(first.Work(100).number, 100u);
  for (int i = 0; i < 2; ++i) {
    const auto reply = leaving.Receive(2s);
    ASSERT_TRUE(reply) << i;
    EXPECT_EQ(reply->header.type, host::rpc::PduType::Response);
  }
  const auto last = leaving.Receive(2s);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->header.type, host::rpc::PduType::BindNak);
  EXPECT_TRUE(other.Receive(2s));
}

// Clients that were answered together are read again before others, but others have their turn.
TEST_F(RepliesTogether, AFlockThatAsksWithoutEndHoldsUpNobody) {
  std::vector<RawClient> flock;
  for (int i = 0; i < 24; ++i) flock.push_back(Connect());
  auto other = Connect();
  std::atomic<int> rounds{0};
  std::jthread asking([&](const std::stop_token& over) {
    for (; !over.stop_requested(); ++rounds) {
      for (auto& client : flock) client.StartWork(1);
      for (auto& client : flock) EXPECT_TRUE(client.Receive(5s));
    }
    flock.clear();
  });
  ASSERT_TRUE(Eventually([&] { return rounds > 20; }));
  const int before = rounds;
  for (std::uint32_t number = 0; number < 100; ++number) EXPECT_EQ(other.Work(number).number, number);
  EXPECT_GT(rounds, before);
  asking = {};
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 1; }));
}

}  // namespace
