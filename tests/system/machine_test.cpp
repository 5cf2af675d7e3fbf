// The machine and the service as processes: up, down, start, stop, sudden ends, boots.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class MachineTest : public ToolTest {
 protected:
  static std::string Tool() { return "timeout 10 '" + ProgramFolder() + "/hkd04a7ctl'"; }
  static int InShell(const std::string& line) { return WEXITSTATUS(std::system(line.c_str())); }
};

TEST_F(MachineTest, SaysThatItIsNotUp) {
  for (const char* command : {"status", "start", "query", "suspend", "down", "settle", "watch"}) {
    const ToolResult result = Run({command});
    EXPECT_EQ(result.exitCode, 4) << command;
    EXPECT_THAT(result.output, HasSubstr("next: bring it up")) << command;
  }
  EXPECT_EQ(Run({"press", "3"}).exitCode, 4);
}

TEST_F(MachineTest, RefusesWhatItDoesNotUnderstand) {
  const std::vector<std::string> wrong[] = {{},
                                            {"fly"},
                                            {"press"},
                                            {"press", "32"},
                                            {"watch", "--count", "0"},
                                            {"ec", "x"},
                                            {"ec", ""},
                                            {"phone", ""},
                                            {"log", "-n", "-1"},
                                            {"reg", "list"},
                                            {"raw", "1", "2"},
                                            {"resume", "--notifications", "9"}};
  for (const auto& arguments : wrong) EXPECT_EQ(Run(arguments).exitCode, 2) << testing::PrintToString(arguments);
}

// A machine that cannot be meant, and one that cannot be found, end with a word.
TEST_F(MachineTest, RefusesAMachineWithoutAName) {
  EXPECT_EQ(InShell(Tool() + " --machine '' status"), 2);
  EXPECT_EQ(InShell("'" + ProgramFolder() + "/hkd04a7-machine' --machine ''"), 2);
  EXPECT_EQ(InShell("cd '" + Machine() + "' && mkdir gone && cd gone && rmdir ../gone && " + Tool() +
                    " --machine here status"),
            4);
}

TEST_F(MachineTest, SaysWhenItsOutputGoesNowhere) {
  Done({"up"});
  ASSERT_TRUE(AwaitState(kRunning));
  for (const char* command : {"status", "press 1", "--json query", "reg list HKLM", "watch", "trace -f"})
    EXPECT_EQ(InShell(Tool() + " --machine '" + Machine() + "' " + command + " >/dev/full"), 1) << command;
}

TEST_F(MachineTest, StartsAndStopsTheService) {
  Done({"up"});
  EXPECT_THAT(Done({"status"}), AllOf(HasSubstr("running, process"), HasSubstr("Hkd04a7RpcEndpoint")));
  ToolResult again = Run({"start"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.output, HasSubstr("1056 (ERROR_SERVICE_ALREADY_RUNNING"));
  EXPECT_THAT(Done({"stop"}), HasSubstr("stopped, exit code 0"));
  again = Run({"stop"});
  EXPECT_EQ(again.exitCode, 3);
  EXPECT_THAT(again.output, AllOf(HasSubstr("1062 (ERROR_SERVICE_NOT_ACTIVE"), HasSubstr("next: hkd04a7ctl start")));
  EXPECT_THAT(Done({"start"}), HasSubstr("running"));
}

TEST_F(MachineTest, UpIsHarmlessWhenUp) {
  Done({"up", "--no-service"});
  EXPECT_THAT(Run({"query"}).output, HasSubstr("1060 (ERROR_SERVICE_DOES_NOT_EXIST"));
  const auto daemon = Status().at("pid");
  EXPECT_THAT(Done({"up"}), HasSubstr("up already"));
  EXPECT_EQ(Status().at("pid"), daemon);
  EXPECT_TRUE(AwaitState(kRunning));
}

TEST_F(MachineTest, ShowsAKilledServiceAsEndedUnexpectedly) {
  Done({"up"});
  ASSERT_EQ(kill(ServicePid(), SIGKILL), 0);
  ASSERT_TRUE(AwaitState(kStopped));
  EXPECT_THAT(Done({"query"}), HasSubstr("stopped, ended unexpectedly: killed by signal 9"));
  EXPECT_THAT(Done({"start"}), HasSubstr("running"));
}

// What is volatile goes, what lasts stays, and the automatic service comes again.
TEST_F(MachineTest, Reboots) {
  Done({"up"});
  Done({"reg", "set", "HKLM\\Software\\Lasting", "a", "1", "--type", "dword"});
  Done({"reg", "set", "HKLM\\Software\\Passing", "a", "1", "--type", "dword", "--volatile"});
  const pid_t before = ServicePid();
  Done({"reboot"});
  ASSERT_TRUE(AwaitState(kRunning));
  EXPECT_NE(ServicePid(), before);
  Done({"reg", "get", "HKLM\\Software\\Lasting", "a"});
  EXPECT_THAT(Run({"reg", "get", "HKLM\\Software\\Passing", "a"}).output, HasSubstr("2 (ERROR_FILE_NOT_FOUND"));
}

TEST_F(MachineTest, SuspendsAndRemembersWhatWokeIt) {
  const std::string record = "HKLM\\Software\\Quorvex\\HKD04A7\\Wakeup";
  Done({"up"});
  Done({"suspend"});
  EXPECT_THAT(Done({"reg", "get", record, "WakeupOnetouchButtonInfo"}), HasSubstr("dword 0x00000000"));
  Done({"resume", "--wake", "0x40000401", "--notifications", "suspend,critical"});
  Done({"settle"});
  EXPECT_THAT(Done({"reg", "get", record, "WakeupOnetouchButtonInfo"}), HasSubstr("dword 0x40000401"));
}

TEST_F(MachineTest, LogsUsersOnAndOff) {
  Done({"up"});
  const auto logon = nlohmann::json::parse(Done({"logon", "anna", "--json"}));
  const std::string session = std::to_string(logon.at("session").get<unsigned>());
  EXPECT_THAT(Done({"status"}), HasSubstr("anna"));
  Done({"logoff", session});
  const ToolResult again = Run({"logoff", session});
  EXPECT_EQ(again.exitCode, 1) << again.output;
}

}  // namespace
}  // namespace tool
