// Programs that the tool has the machine run.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class RunTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up", "--no-service"}); }

  ToolResult Shell(const std::string& script) { return Run({"run", "--", "sh", "-c", script}); }
};

TEST_F(RunTest, AnswersWithTheProgramsOutputAndExitCode) {
  ToolResult result = Shell("echo out; echo err >&2; exit 7");
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_THAT(result.output, AllOf(HasSubstr("out\n"), HasSubstr("err\n")));
  EXPECT_EQ(Shell("kill -TERM $$").exitCode, 128 + SIGTERM);
  // More than a pipe holds, to the last byte.
  result = Shell("head -c 1000000 /dev/zero | tr '\\0' x; printf end");
  EXPECT_EQ(result.output.size(), 1000003u);
  EXPECT_THAT(result.output.substr(result.output.size() - 4), "xend");
  EXPECT_EQ(Run({"run", "--", "pwd"}).output, std::filesystem::current_path().string() + "\n");
  EXPECT_EQ(Run({"run", "--", "printf", "%s,", "--json", "", "a b", "--"}).output, "--json,,a b,--,");
}

// What the program leaves running holds nothing up, whether it keeps the output or not.
TEST_F(RunTest, EndsWithTheProgram) {
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(Shell("sleep 30 & echo begun").output, "begun\n");
  EXPECT_EQ(Shell("exec >&- 2>&-; sleep 0.1; exit 3").exitCode, 3);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
  EXPECT_THAT(Done({"status"}), HasSubstr("ended"));
}

TEST_F(RunTest, AnInterruptEndsTheProgramAndAllBelow) {
  const auto run = Begin({"run", "--", "sh", "-c", "echo begun; sleep 30; echo over"});
  ASSERT_TRUE(run->AwaitOutput("begun"));
  EXPECT_THAT(Done({"status"}), HasSubstr("/sh"));
  run->Signal(SIGINT);
  EXPECT_EQ(run->Finish().exitCode, 130);
  EXPECT_THAT(run->Output(), Not(HasSubstr("over")));
  EXPECT_THAT(AwaitStatus("/sh", false), Not(HasSubstr("/sh")));
}

TEST_F(RunTest, EndsWithTheMachine) {
  auto run = Begin({"run", "--", "sh", "-c", "echo begun; exec sleep 30"});
  ASSERT_TRUE(run->AwaitOutput("begun"));
  Done({"down"});
  EXPECT_EQ(run->Finish().exitCode, 128 + SIGTERM);
  Done({"up", "--no-service"});
  run = Begin({"run", "--", "sh", "-c", "echo begun; exec sleep 30"});
  ASSERT_TRUE(run->AwaitOutput("begun"));
  ASSERT_EQ(kill(Status().at("pid").get<pid_t>(), SIGKILL), 0);
  EXPECT_EQ(run->Finish().exitCode, 4) << run->Output();
  EXPECT_THAT(run->Output(), HasSubstr("the machine has gone"));
}

TEST_F(RunTest, GivesTheIdentityThatWasAskedFor) {
  Done({"user", "add", "bob"});
  Done({"logon", "Anna"});
  Done({"logon", "carl", "--remote"});
  const std::string sid = "S-1-15-3-1024-1-2-3-4-5-6-7-8";
  struct Case {
    std::vector<std::string> options;
    std::string identity;
  };
  const Case cases[] = {
      {{}, "Anna, session 1"},
      {{"--user", "CARL"}, "carl, session 2"},
      {{"--user", "bob"}, "bob, session 1"},
      {{"--session", "0", "--package", kPackage}, std::string("Anna, session 0, package ") + kPackage},
      {{"--session", "2", "--app-container", "--capability", sid}, "carl, session 2, app container, capability " + sid},
  };
  for (const Case& test : cases) {
    // The program shows the table that it stands in.
    const ToolResult result = RunAs(test.options, {"status"});
    EXPECT_THAT(result.output, HasSubstr("/hkd04a7ctl status  (" + test.identity + ")"));
  }
}

TEST_F(RunTest, SaysWhyItDoesNotRun) {
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* words;
  };
  const Case cases[] = {
      {{"--", "no-such-program"}, 1, "there is no such program"},
      {{"--", "/etc/passwd"}, 1, "there is no such program"},
      {{"--user", "nobody-there", "--", "true"}, 1, "there is no user nobody-there"},
      {{"--session", "9", "--", "true"}, 1, "there is no session 9"},
      {{"--capability", "S-1-wrong", "--", "true"}, 2, "not a capability"},
      {{"--capability", "\xff", "--", "true"}, 2, "not UTF-8"},
      {{"--user", "", "--", "true"}, 2, "it is empty"},
      {{"--package", "", "--", "true"}, 2, "it is empty"},
      {{"--"}, 2, "program is required"},
      {{"--", "echo", "\xff"}, 2, "not UTF-8"},
  };
  for (const Case& test : cases) {
    const ToolResult result = Run(Joined({"run"}, test.arguments));
    EXPECT_EQ(result.exitCode, test.exitCode) << result.output;
    EXPECT_THAT(result.output, HasSubstr(test.words));
  }
  Done({"down"});
  EXPECT_EQ(Run({"run", "--", "true"}).exitCode, 4);
}

// A reader that goes early ends the program as it would in a shell.
TEST_F(RunTest, AProgramWhoseOutputGoesNowhereEnds) {
  const std::string tool = "timeout 10 '" + ProgramFolder() + "/hkd04a7ctl' --machine '" + Machine() + "'";
  EXPECT_EQ(WEXITSTATUS(std::system((tool + " run -- yes | head -n 1 >/dev/null").c_str())), 0);
  EXPECT_EQ(WEXITSTATUS(std::system((tool + " run -- yes >/dev/full 2>/dev/null").c_str())), 1);
  EXPECT_THAT(AwaitStatus("/yes", false), Not(HasSubstr("/yes")));
  // A stream that was closed is none: nothing else is opened in its place and written to.
  for (const char* command : {" run -- echo lost", " status", " press 1"})
    EXPECT_EQ(WEXITSTATUS(std::system((tool + command + " <&- >&- 2>&-").c_str())), 1) << command;
}

}  // namespace
}  // namespace tool
