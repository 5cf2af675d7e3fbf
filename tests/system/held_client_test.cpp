// What clients hold of the service, when they are killed and when it is stopped.
#include <gmock/gmock.h>
#include <signal.h>

#include <fstream>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kNothingHeld =
    ": 0 connections, 0 subscriptions, 0 device sessions, 0 queued events, 0 calls running, 0 waits pending, 0 unsent "
    "bytes";

class HeldClientTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up"}); }

  // A process of the machine with `sessions` open device sessions and a subscription whose wait is pending.
  std::unique_ptr<RunningTool> BeginHolder(const std::string& sessions) {
    auto holder = Begin({"run", "--", ProgramFolder() + "/session-holder", sessions});
    EXPECT_TRUE(holder->AwaitOutput("holding\n")) << holder->Output();
    return holder;
  }
  static pid_t PidOf(const RunningTool& holder) { return std::stoi(holder.Output()); }
};

TEST_F(HeldClientTest, AKilledClientLeavesNothingBehind) {
  EXPECT_THAT(AwaitStatus(kNothingHeld), HasSubstr(kNothingHeld));
  const auto killed = BeginHolder("40");
  const auto other = BeginHolder("2");
  const std::string held =
      ": 2 connections, 2 subscriptions, 42 device sessions, 0 queued events, 0 calls running, 2 waits pending";
  EXPECT_THAT(AwaitStatus(held), HasSubstr(held));
  ASSERT_EQ(kill(PidOf(*killed), SIGKILL), 0);
  EXPECT_EQ(killed->Finish().exitCode, 128 + SIGKILL);
  const std::string left =
      ": 1 connection, 1 subscription, 2 device sessions, 0 queued events, 0 calls running, 1 wait pending";
  EXPECT_THAT(AwaitStatus(left), HasSubstr(left));
  EXPECT_THAT(Done({"call", "0x1000"}), HasSubstr("answered")) << "the library is still there for others";
  ASSERT_EQ(kill(PidOf(*other), SIGKILL), 0);
  EXPECT_THAT(AwaitStatus(kNothingHeld), HasSubstr(kNothingHeld));
  EXPECT_THAT(Done({"stop"}), HasSubstr("stopped, exit code 0"));
}

TEST_F(HeldClientTest, AStopEndsTheSessionsOfIdleClients) {
  const auto holder = BeginHolder("3");
  EXPECT_THAT(Done({"stop"}), HasSubstr("stopped, exit code 0"));
  EXPECT_EQ(holder->Finish().exitCode, 3) << holder->Output();
}

// A request that waits for its program holds the stop; the status says so, and the program's end lets it go.
TEST_F(HeldClientTest, AStopWaitsForTheProgramOfARequest) {
  const std::string gate = Machine() + "/gate";
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "hold", "/bin/sh", "--", "-c \"until [ -e '" + gate + "' ]; do sleep 0.02; done; exit 9\""});
  const auto request = BeginAs({"--package", kPackage}, {"run-as-system", "hold"});
  EXPECT_THAT(AwaitStatus("1 call running"), HasSubstr("1 call running"));
  const auto stop = Begin({"stop"});
  const std::string holder = "; the stop waits for 1 Hkd04a7Rpc_RunFileAsSystem";
  EXPECT_THAT(AwaitStatus(holder), AllOf(HasSubstr(holder), HasSubstr("stop pending")));
  EXPECT_EQ(Query().at("state"), 3) << "still on its way";
  std::ofstream(gate).close();
  EXPECT_THAT(stop->Finish().output, HasSubstr("stopped, exit code 0"));
  const ToolResult answered = request->Finish();
  EXPECT_EQ(answered.exitCode, 0);
  EXPECT_THAT(answered.output, HasSubstr("exit code 9"));
}

}  // namespace
}  // namespace tool
