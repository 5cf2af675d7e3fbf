// What clients may do to the running service, each beside a witness who has to go on getting every event in order.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <thread>
#include <vector>

#include "client/event_subscription.h"
#include "platform/host/base/open_files.h"
#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/server_status.h"
#include "rpc/event_notify_list.h"
#include "tests/rpc/hostile_behaviours.h"
#include "tests/support/service_process.h"

using namespace host::rpc;
using namespace std::chrono_literals;
using client::EventSubscription;

namespace {

// What this process has used so far.
std::chrono::microseconds ProcessorTime() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

std::size_t ResidentBytes() {
  std::size_t size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// By which this process may grow beside any of them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kMostHeld = std::size_t{2} << 30;  // what is freed stays resident there
#else
constexpr std::size_t kMostHeld = 40u << 20;
#endif

class HostileClients : public testing::Test {
 protected:
  void SetUp() override {
    host::RaiseOpenFileLimit();
    service_.StartAndSettle();
    ASSERT_TRUE(connection_.Open().Ok());
    ASSERT_TRUE(witness_.emplace(connection_).Start().Ok());
    victims_.group = other_.emplace("Hkd04a7RpcEndpoint").Bind(kServiceInterface);
    victims_.session = other_->Open(hkd04a7::kDeviceCreate).token;
    ASSERT_TRUE(NobodyElseIsHeld());
  }

  // The next events reach the witness: all, in order, soon.
  void ExpectEvents() {
    constexpr std::uint32_t kEvents = 5;
    for (std::uint32_t i = 0; i < kEvents; ++i) {
      Quorvex::PC::Hkd04a7::Service::DeliverToSubscriptions({7, events_ + i, 0});
    }
    for (std::uint32_t i = 0; i < kEvents; ++i) {
      client::Event event;
      ASSERT_EQ(witness_->Next(5s, &event), EventSubscription::Outcome::Event);
      ASSERT_EQ(event.data1, events_++);
    }
  }

  // What is left is the witness's and the other client's.
  static bool NobodyElseIsHeld() {
    const auto until = std::chrono::steady_clock::now() + 20s;
    while (ConnectionCount() != 2 || ContextHandleCount() != 2 || OpenCallCount() != 1) {
      if (std::chrono::steady_clock::now() > until) return false;
      std::this_thread::sleep_for(1ms);
    }
    return true;
  }

  void ExpectNobodyIsHarmedBy(const Behaviour& behaviour) {
    SCOPED_TRACE(behaviour.what);
    const std::size_t before = ResidentBytes();
    hostile_.Start(behaviour, victims_);
    ExpectEvents();
    EXPECT_EQ(hostile_.Outcome(), std::string(behaviour.expected));
    EXPECT_LT(ServerStatus().unsentBytes, kMaxUnsentOfClient + (1u << 20));
    EXPECT_LT(ResidentBytes(), before + kMostHeld);
    ExpectEvents();
    hostile_.Kill();
    EXPECT_TRUE(NobodyElseIsHeld());
    ExpectEvents();
  }

  HostileProcesses hostile_;  // made before there are threads
  support::ServiceProcess service_;
  client::Connection connection_;
  std::optional<EventSubscription> witness_;
  std::optional<RawClient> other_;
  Victims victims_;
  std::uint32_t events_ = 0;
};

TEST_F(HostileClients, OutsideTheProtocolAreAnsweredOrCutOff) {
  for (const auto& behaviour : OutsideTheProtocol()) ExpectNobodyIsHarmedBy(behaviour);
}

TEST_F(HostileClients, WithBadArgumentsAreRefused) {
  for (const auto& behaviour : BadArguments()) ExpectNobodyIsHarmedBy(behaviour);
  EXPECT_EQ(other_->Use(hkd04a7::kDeviceGetWakeupStatus, victims_.session, 1).fault, 0u) << "still its owner's";
}

// Each in a process of its own, since they take their time.
class GreedyClient : public HostileClients, public testing::WithParamInterface<std::size_t> {};

TEST_P(GreedyClient, GetsNoMoreThanItsShare) {
  ExpectNobodyIsHarmedBy(Greed()[GetParam()]);
}

INSTANTIATE_TEST_SUITE_P(HostileClients, GreedyClient, testing::Range<std::size_t>(0, Greed().size()));

TEST_F(HostileClients, AreForgottenWhereverTheyAreKilled) {
  for (victims_.step = 0; victims_.step <= kSteps; ++victims_.step) {
    SCOPED_TRACE(victims_.step);
    ExpectNobodyIsHarmedBy(kLife);
  }
}

// New clients wait, those there are go on, and nothing spins; descriptors that come free are found though there is
// always something else to do.
TEST_F(HostileClients, WaitWhileThereIsNoDescriptor) {
  ExpectNobodyIsHarmedBy(kPatience);  // a sanitizer needs descriptors for what it has not seen yet
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit old = limit;
  limit.rlim_cur = 200;
  setrlimit(RLIMIT_NOFILE, &limit);
  std::vector<int> taken;
  for (int next = dup(0); next >= 0; next = dup(0)) taken.push_back(next);
  hostile_.Start(kPatience);
  ExpectEvents();
  const auto before = ProcessorTime();
  EXPECT_FALSE(hostile_.Outcome(300ms));
  EXPECT_LT(ProcessorTime() - before, 150ms);
  for (const int each : taken) close(each);
  setrlimit(RLIMIT_NOFILE, &old);
  std::optional<std::string> outcome;
  for (int i = 0; i < 100 && !outcome; ++i) {
    ExpectEvents();
    outcome = hostile_.Outcome(50ms);
  }
  EXPECT_EQ(outcome, std::string(kPatience.expected));
  hostile_.Kill();
  EXPECT_TRUE(NobodyElseIsHeld());
}

}  // namespace
