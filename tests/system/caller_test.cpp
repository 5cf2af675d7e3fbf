// Who a client is: what the process table says of its process, and what its descent adds, never what it says itself.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::HasSubstr;

constexpr const char* kCapability = "Quorvex.hkd04A7DeviceHardwareSettings_m3tq8v0kc2wna";

class CallerTest : public ToolTest {
 protected:
  void SetUp() override {
    Done({"up"});
    ASSERT_TRUE(AwaitState(kRunning));
    // From then on there is a wake-up record to ask for.
    for (const char* command : {"suspend", "resume", "settle"}) Done({command});
  }

  // One call of the service, as a line for a shell.
  std::string Call() const {
    return "'" + ProgramFolder() + "/hkd04a7ctl' --machine '" + Machine() + "' wakeup switch";
  }

  // A shell that runs `line`, with the identity that `options` give it.
  ToolResult RunShell(std::vector<std::string> options, const std::string& line) {
    options.insert(options.begin(), "run");
    for (const char* word : {"--", "/bin/sh", "-c"}) options.emplace_back(word);
    options.push_back(line);
    return Run(options);
  }

  std::string AwaitFile(const std::string& path) {
    for (int i = 0; i < 500 && !std::filesystem::exists(path); ++i) usleep(20'000);
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
};

TEST_F(CallerTest, OrdinaryProgramsAndContainedOnesWithTheCapabilityGetIn) {
  const std::vector<std::string> admitted[] = {
      {}, {"--package", "Some.Package"}, {"--package", "Some.Package", "--app-container", "--capability", kCapability}};
  for (const auto& options : admitted) {
    const ToolResult result = RunShell(options, Call() + "; exit $?");
    EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(options) << result.output;
  }
  const std::vector<std::string> refused[] = {{"--package", "Some.Package", "--app-container"},
                                              {"--app-container", "--capability", "internetClient"}};
  for (const auto& options : refused) {
    const ToolResult result = RunShell(options, Call() + "; exit $?");
    EXPECT_EQ(result.exitCode, 1) << testing::PrintToString(options);
    EXPECT_THAT(result.output, HasSubstr("ERROR_ACCESS_DENIED")) << testing::PrintToString(options);
  }
}

TEST_F(CallerTest, DescendantsOfAContainedProgramAreContainedToo) {
  const std::string lines[] = {
      Call() + "; exit $?",                                   // a child
      "sh -c \"" + Call() + "; exit \\$?\"; exit $?",         // a child's child
      "setsid " + Call() + "; exit $?",                       // in a session of its own
      "USER=SYSTEM USERNAME=SYSTEM " + Call() + "; exit $?",  // whatever it says of itself
      "env -i HKD04A7_MACHINE='" + Machine() + "' " + Call() + "; exit $?",
  };
  for (const std::string& line : lines) {
    EXPECT_EQ(RunShell({}, line).exitCode, 0) << line;
    const ToolResult result = RunShell({"--app-container"}, line);
    EXPECT_EQ(result.exitCode, 1) << line;
    EXPECT_THAT(result.output, HasSubstr("ERROR_ACCESS_DENIED")) << line;
  }
}

TEST_F(CallerTest, TheCurrentUserIsTheOneOfTheProgramsToken) {
  const auto add = [this](const std::string& user) {
    return nlohmann::json::parse(Done({"--json", "user", "add", user})).at("sid").get<std::string>();
  };
  const std::string console = add("Anna");
  const std::string remote = add("Carl");
  Done({"logon", "Anna"});
  Done({"logon", "Carl", "--remote"});
  const std::string set =
      "'" + ProgramFolder() + "/hkd04a7ctl' --machine '" + Machine() + "' reg set HKCU/Software/Of ";
  EXPECT_EQ(RunShell({"--user", "Carl"}, set + "Name carl; exit $?").exitCode, 0);
  Done({"reg", "set", "HKCU/Software/Of", "Name", "outside"});
  EXPECT_THAT(Done({"reg", "list", "HKU/" + remote + "/Software/Of"}), HasSubstr("carl"));
  EXPECT_THAT(Done({"reg", "list", "HKU/" + console + "/Software/Of"}), HasSubstr("outside"));
}

TEST_F(CallerTest, AnOrphanOfAContainedProgramStaysContained) {
  const std::string result = Machine() + "/orphan";
  const std::string line = "(sleep 1; " + Call() + " > '" + result + ".new' 2>&1; mv '" + result + ".new' '" + result +
                           "') >/dev/null 2>&1 </dev/null & exit 0";
  EXPECT_EQ(RunShell({"--app-container"}, line).exitCode, 0);
  EXPECT_THAT(AwaitFile(result), HasSubstr("ERROR_ACCESS_DENIED"));
}

}  // namespace
}  // namespace tool
