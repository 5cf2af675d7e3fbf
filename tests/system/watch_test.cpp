// Clients in processes of their own.
#include <gmock/gmock.h>
#include <signal.h>

#include <sstream>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

// "1 5 0" for each event of a `watch --json`.
std::vector<std::string> Events(const std::string& output) {
  std::vector<std::string> events;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const auto object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object() || !object.contains("event")) continue;
    std::ostringstream text;
    text << object.at("event") << ' ' << object.at("data1") << ' ' << object.at("data2");
    events.push_back(text.str());
  }
  return events;
}

class WatchTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up"}); }
};

TEST_F(WatchTest, APressReachesBothClients) {
  const auto first = BeginWatch({"--json", "--count", "4", "--timeout", "10"});
  const auto second = BeginWatch({"--json", "--count", "4", "--timeout", "10"});
  Done({"press", "0x5"});
  Done({"settle"});
  Done({"press", "one-touch"});
  Done({"settle"});
  Done({"raw", "0x101C", "3", "2", "0", "=", "7", "--notify"});
  for (RunningTool* watch : {first.get(), second.get()}) {
    const ToolResult result = watch->Finish();
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_THAT(Events(result.output), ElementsAre("1 5 0", "3 5 0", "32 1073742849 0", "42 2 7"));
  }
}

TEST_F(WatchTest, SaysHowItEnded) {
  EXPECT_THAT(BeginWatch({"--timeout", "0.2"})->Finish().exitCode, 124);
  const auto interrupted = BeginWatch();
  interrupted->Signal(SIGINT);
  EXPECT_THAT(interrupted->Finish().exitCode, 130);
  EXPECT_THAT(interrupted->Output(), HasSubstr("ended: interrupted"));
}

TEST_F(WatchTest, AStopEndsThePendingWait) {
  const auto watch = BeginWatch();
  Done({"stop"});
  const ToolResult result = watch->Finish();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.output, HasSubstr("ended: the service is stopping, 0x800704C7 (ERROR_CANCELLED"));
  const ToolResult late = Run({"watch"});
  EXPECT_EQ(late.exitCode, 3);
  EXPECT_THAT(late.output, AllOf(HasSubstr("1722 (RPC_S_SERVER_UNAVAILABLE"), HasSubstr("next: start the service")));
}

TEST_F(WatchTest, AKilledServiceEndsTheWait) {
  const auto watch = BeginWatch();
  ASSERT_EQ(kill(ServicePid(), SIGKILL), 0);
  const ToolResult result = watch->Finish();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.output, HasSubstr("1726 (RPC_S_CALL_FAILED"));
}

TEST_F(WatchTest, AKilledClientHarmsNobody) {
  const auto killed = BeginWatch();
  const auto healthy = BeginWatch({"--json", "--count", "2", "--timeout", "10"});
  killed->Signal(SIGKILL);
  EXPECT_EQ(killed->Finish().exitCode, 128 + SIGKILL);
  Done({"press", "1"});
  Done({"settle"});
  Done({"press", "2"});
  EXPECT_THAT(Events(healthy->Finish().output), ElementsAre("1 1 0", "2 2 0"));
  EXPECT_TRUE(AwaitState(kRunning));
}

TEST_F(WatchTest, ShowsInTheStatus) {
  const auto first = BeginWatch({"--timeout", "30"});
  const auto second = BeginWatch({"--timeout", "30"});
  const std::string expected =
      "2 connections, 2 subscriptions, 0 device sessions, 0 queued events, 0 calls running, 2 waits pending, 0 unsent "
      "bytes";
  // A client has its reply, and says so, a moment before the service is done with the call.
  EXPECT_THAT(AwaitStatus(expected), HasSubstr(expected));
}

TEST_F(WatchTest, AFrozenServiceDoesNotHoldTheStatusUp) {
  const pid_t service = ServicePid();
  const auto start = std::chrono::steady_clock::now();
  Run({"status"});
  const auto usual = std::chrono::steady_clock::now() - start;
  ASSERT_EQ(kill(service, SIGSTOP), 0);
  const auto before = std::chrono::steady_clock::now();
  const ToolResult status = Run({"status"});
  EXPECT_LT(std::chrono::steady_clock::now() - before, usual + std::chrono::milliseconds(800));
  ASSERT_EQ(kill(service, SIGCONT), 0);
  EXPECT_THAT(status.output, HasSubstr("process " + std::to_string(service) + ": does not answer"));
  EXPECT_THAT(Done({"status"}), HasSubstr("process " + std::to_string(service) + ": 0 connections"));
}

// A service that has stopped answering holds nobody up.
TEST_F(WatchTest, LeavesAFrozenServiceInTime) {
  const auto watch = BeginWatch({"--timeout", "0.5"});
  const pid_t service = ServicePid();
  ASSERT_EQ(kill(service, SIGSTOP), 0);
  EXPECT_EQ(watch->Finish().exitCode, 124) << watch->Output();
  ASSERT_EQ(kill(service, SIGCONT), 0);
  EXPECT_TRUE(AwaitState(kRunning));
}

}  // namespace
}  // namespace tool
