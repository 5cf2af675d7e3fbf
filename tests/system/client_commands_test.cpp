// The client's commands against the real service: what they answer, what they show, and who refuses them.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

class ClientCommandsTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up"}); }

  ToolResult RunPackaged(const std::vector<std::string>& arguments) {
    return RunAs({"--package", kPackage}, arguments);
  }

  // A run that is refused: exit code 1, and its failure as an object.
  static json Refused(const ToolResult& result) {
    EXPECT_EQ(result.exitCode, 1) << result.output;
    return json::parse(result.output);
  }
};

TEST_F(ClientCommandsTest, CallsADeviceFunction) {
  Done({"raw", "0x2000", "1", "0xFFFFFFFF", "3", "=", "0x40000005", "0x80000001", "fail"});
  const std::vector<std::string> call = {"call", "0x2000", "1", "4294967295", "3"};
  EXPECT_EQ(Done(call), "answered 0x40000005\n");
  const json answered = json::parse(Done(Joined(call, {"--json"})));
  EXPECT_EQ(answered.at("answer"), 0x80000001u);
  EXPECT_EQ(answered.at("deviceError"), true);
  EXPECT_EQ(answered.at("arguments"), json({1u, 0xFFFFFFFFu, 3u}));
  const ToolResult failed = Run(call);
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_THAT(failed.output, AllOf(HasSubstr("Hkd04a7Rpc_Device_CallFuncMethod answered 0x80004005 (E_FAIL"),
                                   HasSubstr("next: hkd04a7ctl explain 0x80004005")));
}

TEST_F(ClientCommandsTest, ShowsWhatWokeTheMachine) {
  Done({"suspend"});
  const json early = Refused(Run({"wakeup", "switch", "--json"}));
  EXPECT_EQ(early.at("name"), "ERROR_TIMEOUT");
  EXPECT_EQ(early.at("layer"), "procedure");
  Done({"resume", "--wake", "0x40000401", "--wake-switch", "0x5"});
  Done({"settle"});
  EXPECT_EQ(Done({"wakeup", "switch"}), "switch: 0x00000005\n");
  EXPECT_EQ(Done({"wakeup", "one-touch"}), "one-touch: 0x40000401\n");
  EXPECT_EQ(json::parse(Done({"wakeup", "one-touch", "--json"})),
            json({{"wakeup", "one-touch"}, {"word", 0x40000401u}}));
}

TEST_F(ClientCommandsTest, RegistersForTheCallingUser) {
  Done({"logon", "anna"});
  const auto query = [&](const std::string& service) {
    return RunAs({"--user", "anna"}, {"app", "query", kPackage, service, "--event", "41", "--data1", "5", "--json"});
  };
  EXPECT_EQ(Refused(query("events")).at("code"), 0x80070002u);
  const ToolResult done =
      RunAs({"--user", "anna"}, {"app", "register", kPackage, "events", "--event", "41", "--data1", "5"});
  EXPECT_EQ(done.output,
            std::string("registered: ") + kPackage + " (events) for event 41 (session change) with data1 0x00000005\n");
  EXPECT_EQ(query("events").exitCode, 0);
  EXPECT_EQ(Refused(query("Events")).at("name"), "S_FALSE");
  const std::string key = "HKCU\\Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService\\41-5";
  EXPECT_THAT(RunAs({"--user", "anna"}, {"reg", "get", key, kPackage}).output, HasSubstr("events"));
  EXPECT_EQ(RunAs({"--user", "anna"}, {"app", "unregister", kPackage, "--event", "41", "--data1", "5"}).exitCode, 0);
  EXPECT_EQ(Refused(query("events")).at("code"), 0x80070002u);
}

// Each gate names the very registry value that opens it, in the form that `reg` takes.
TEST_F(ClientCommandsTest, EachGateTellsWhatOpensIt) {
  const std::vector<std::string> request = {"run-as-system", "repair", "--json", "--", "b \"c d\""};
  EXPECT_THAT(Refused(Run(request)).at("state").get<std::string>(), HasSubstr("no package family name"));

  json refusal = Refused(RunPackaged(request));
  EXPECT_EQ(refusal.at("gate"), "capability bit");
  EXPECT_EQ(refusal.at("value"), kPackage);
  const auto openWith = [&](const std::string& type, const std::vector<std::string>& words) {
    Done(Joined({"reg", "set", refusal.at("key"), refusal.at("value"), "--type", type, "--"}, words));
  };
  openWith("dword", {"2"});
  EXPECT_EQ(Refused(RunPackaged(request)).at("state"), "bit 0 is clear");
  openWith("dword", {"1"});

  refusal = Refused(RunPackaged(request));
  EXPECT_EQ(refusal.at("gate"), "allow-list");
  EXPECT_EQ(refusal.at("name"), "E_NOTIMPL");
  openWith("multi", {"/bin/sh", "-c \"exit 7\""});

  const ToolResult done = RunPackaged(request);
  EXPECT_EQ(done.exitCode, 0) << done.output;
  const json shown = json::parse(done.output);
  EXPECT_EQ(shown.at("exitCode"), 7);
  ASSERT_EQ(shown.at("started").size(), 1u);
  EXPECT_EQ(shown.at("started")[0].at("program"), "/bin/sh");
  EXPECT_EQ(shown.at("started")[0].at("commandLine"), "\"/bin/sh\" -c \"exit 7\" b \"c d\"");
}

TEST_F(ClientCommandsTest, RunsWithoutWaitingAndInTheCallersSession) {
  Done({"logon", "anna"});
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "nap", "/bin/sleep", "0.05"});
  const ToolResult begun = RunPackaged({"run-as-system", "nap", "--no-wait"});
  EXPECT_THAT(begun.output, AllOf(HasSubstr(": \"/bin/sleep\" 0.05\n"), HasSubstr("not waited for")));
  const json there = json::parse(
      RunAs({"--user", "anna", "--package", kPackage}, {"run-as-system", "nap", "--client-session", "--json"}).output);
  EXPECT_EQ(there.at("exitCode"), 0);
  EXPECT_EQ(there.at("started")[0].at("session"), 1);
}

// What others have the service start at the same time is not shown as this request's.
TEST_F(ClientCommandsTest, ShowsItsOwnProgramAmongOthers) {
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "leave", "/bin/sh", "--", "-c \"sleep 0.2; exit $0\""});
  std::vector<std::unique_ptr<RunningTool>> requests;
  for (int code = 1; code <= 6; ++code)
    requests.push_back(BeginAs({"--package", kPackage}, {"run-as-system", "leave", std::to_string(code)}));
  for (int code = 1; code <= 6; ++code) {
    const std::string output = requests[static_cast<std::size_t>(code - 1)]->Finish().output;
    EXPECT_THAT(output, HasSubstr("exit $0\" " + std::to_string(code) + "\nexit code " + std::to_string(code) + "\n"));
    EXPECT_EQ(output.find("started"), output.rfind("started")) << output;
  }
}

// A client that waits for a program learns at once that the service is gone.
TEST_F(ClientCommandsTest, AKilledServiceEndsTheRequest) {
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "nap", "/bin/sleep", "60"});
  const auto request =
      Begin({"run", "--package", kPackage, "--", ProgramFolder() + "/hkd04a7ctl", "run-as-system", "nap"});
  std::string status;
  for (int tries = 0; tries < 200 && status.find("/bin/sleep") == std::string::npos; ++tries) status = Done({"status"});
  ASSERT_THAT(status, HasSubstr("/bin/sleep"));
  ASSERT_EQ(kill(ServicePid(), SIGKILL), 0);
  const ToolResult result = request->Finish();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.output, HasSubstr("Hkd04a7Rpc_RunFileAsSystem answered 1726 (RPC_S_CALL_FAILED"));
}

TEST_F(ClientCommandsTest, TheEndpointKeepsAppContainersOut) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"call", "1"},
                                                  {"wakeup", "switch"},
                                                  {"run-as-system", "x"},
                                                  {"app", "query", "p", "s", "--event", "1"},
                                                  {"watch", "--count", "1"}}) {
    const json refusal = Refused(RunAs({"--app-container"}, Joined(command, {"--json"})));
    EXPECT_EQ(refusal.at("code"), 5) << command[0];
    EXPECT_EQ(refusal.at("layer"), "runtime") << command[0];
    EXPECT_EQ(refusal.at("gate"), "endpoint descriptor") << command[0];
  }
  EXPECT_EQ(RunAs({"--app-container", "--capability", kHardwareSettings}, {"call", "0x1000"}).exitCode, 0);
}

TEST_F(ClientCommandsTest, SaysThatNobodyServes) {
  const std::vector<std::vector<std::string>> commands = {
      {"call", "1"}, {"wakeup", "switch"}, {"app", "unregister", "p", "--event", "1", "--any"}, {"run-as-system", "x"}};
  Done({"stop"});
  for (const auto& command : commands) EXPECT_EQ(Run(command).exitCode, 3) << command[0];
  Done({"down"});
  for (const auto& command : commands) EXPECT_EQ(Run(command).exitCode, 4) << command[0];
}

TEST_F(ClientCommandsTest, RefusesWhatItDoesNotUnderstand) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"call"},
                                                  {"call", "-1"},
                                                  {"call", "1", "2", "3", "4", "5"},
                                                  {"wakeup", "ir"},
                                                  {"app", "register", "p", "--event", "1"},
                                                  {"app", "query", "p", "s"},
                                                  {"app", "unregister", "p", "s", "--event", "1"},
                                                  {"app", "unregister", "p", "--event", "1", "--any", "--data1", "0"},
                                                  {"run-as-system"},
                                                  {"explain"},
                                                  {"run-as-system", "\xFF"},
                                                  {"app", "unregister", "\xC3", "--event", "1"},
                                                  {"explain", "NO_SUCH_NAME"},
                                                  {"explain", "0x100000000"}})
    EXPECT_EQ(Run(command).exitCode, 2) << testing::PrintToString(command);
  EXPECT_EQ(Run({"explain", "-2147467263"}).exitCode, 0);
  EXPECT_EQ(Run({"explain", "4711"}).exitCode, 1);
}

// The example of the client library does what it says.
TEST_F(ClientCommandsTest, TheExampleGoesThroughEverything) {
  Done({"logon", "anna"});
  Done({"settle"});
  const auto example = Begin({"run", "--", ProgramFolder() + "/hkd04a7-example", "10"});
  ASSERT_TRUE(example->AwaitOutput("waiting for an event")) << example->Output();
  Done({"press", "one-touch"});
  const ToolResult result = example->Finish();
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("function 0x1000 answered 0x"), HasSubstr("one-touch wake-up word 0x00000000"),
                    HasSubstr("asynchronously 0x"), HasSubstr("registered for event 37"),
                    HasSubstr("event 32, data1 0x40000401, data2 0x00000000")));
}

}  // namespace
}  // namespace tool
