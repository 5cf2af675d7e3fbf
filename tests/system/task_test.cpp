// Tasks, as the tool registers, lists, runs and follows them.
#include <gmock/gmock.h>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class TaskCommandTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up", "--no-service"}); }

  std::string AwaitRuns(const std::string& text) {
    std::string output;
    for (int look = 0; look < 200 && output.find(text) == output.npos; ++look) output = Done({"task", "runs"});
    return output;
  }
};

TEST_F(TaskCommandTest, ATaskIsRegisteredListedRunAndRemoved) {
  const std::string added = Done({"task", "add", "--for", "32", "--data1", "0x40000401", "--view", "both",
                                  "--instances", "parallel", "--", "Tools\\Note", "sh", "-c \"exit $(Arg2)\""});
  EXPECT_THAT(added, AllOf(HasSubstr("Tools\\Note  /"), HasSubstr("sh -c \"exit $(Arg2)\"  (LocalSystem, parallel)"),
                           HasSubstr("for event 32 (one-touch button) with data1 0x40000401, 64-bit view\n"),
                           HasSubstr("for event 32 (one-touch button) with data1 0x40000401, 32-bit view\n")));
  Done({"reg", "set", "HKLM\\Software\\Quorvex\\HKD04A7\\Events\\1", "\\TOOLS\\NOTE", "x"});
  Done({"reg", "set", "HKLM\\Software\\Quorvex\\HKD04A7\\Events\\1", "Other", "x"});
  EXPECT_THAT(Done({"task", "list"}), HasSubstr("for event 1 (application switch 1), 64-bit view\n"));
  EXPECT_EQ(json::parse(Done({"task", "list", "--json"})).at("events").size(), 3u);

  auto follower = Begin({"task", "runs", "-f"});
  EXPECT_THAT(Done({"task", "run", "tools\\note", "32", "0x40000401", "5"}), HasSubstr("instance {"));
  EXPECT_THAT(AwaitRuns("exit code 5"), HasSubstr("sh\" -c \"exit 5\"  (LocalSystem, for process "));
  EXPECT_TRUE(follower->AwaitOutput("exit code 5")) << follower->Output();
  EXPECT_THAT(follower->Output(), HasSubstr("runs, process "));
  follower->Signal(2);
  follower->Finish();
  EXPECT_THAT(Done({"task", "disable", "Tools\\Note"}), HasSubstr("disabled"));
  EXPECT_THAT(Run({"task", "run", "Tools\\Note"}).output, HasSubstr("SCHED_E_TASK_DISABLED"));
  EXPECT_THAT(Done({"status"}), HasSubstr("1 registered, 0 runs going, 0 waiting"));

  EXPECT_EQ(Done({"task", "remove", "Tools\\Note"}), "removed, and from 3 lists of events\n");
  EXPECT_EQ(Done({"task", "list"}), "");
  EXPECT_THAT(Done({"reg", "list", "HKLM\\Software\\Quorvex\\HKD04A7\\Events\\1"}),
              AllOf(HasSubstr("Other"), Not(HasSubstr("NOTE"))));
}

TEST_F(TaskCommandTest, SaysWhatCannotBe) {
  Done({"task", "add", "T", "/bin/true"});
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* words;
  };
  const Case cases[] = {
      {{"task", "add", "T", "/bin/true"}, 1, "there is a task of this path"},
      {{"task", "add", "a/b", "/bin/true"}, 1, "cannot be a task's path"},
      {{"task", "add", "X", "no-such-program"}, 1, "there is no such program"},
      {{"task", "add", "X", "/bin/true", "--user", "nobody"}, 1, "there is no user 'nobody'"},
      {{"task", "add", "X", "/bin/true", "--directory", "here"}, 1, "by its whole path"},
      {{"task", "add", "X", "/bin/true", "--for", "43"}, 2, "events 1 to 42"},
      {{"task", "add", "X", "/bin/true", "--data1", "1"}, 2, "requires"},
      {{"task", "add", "X", "/bin/true", "--instances", "some"}, 2, "not in"},
      {{"task", "add", std::string(200, 'x'), "/bin/true"}, 2, "longer than 199"},
      {{"task", "add", "\xff", "/bin/true"}, 2, "not UTF-8"},
      {{"task", "remove", "X"}, 1, "no task has the path 'X'"},
      {{"task", "run", "X"}, 1, "no task has the path 'X'"},
      {{"task", "runs", "-n", "-1"}, 2, "not a number"},
      {{"task"}, 2, "subcommand"},
  };
  for (const Case& test : cases) {
    const ToolResult result = Run(test.arguments);
    EXPECT_EQ(result.exitCode, test.exitCode) << testing::PrintToString(test.arguments) << result.output;
    EXPECT_THAT(result.output, HasSubstr(test.words));
  }
  Done({"task", "service", "stop"});
  EXPECT_THAT(Run({"task", "run", "T"}).output, HasSubstr("SCHED_E_SERVICE_NOT_RUNNING"));
  EXPECT_THAT(Done({"status"}), HasSubstr("the Task Scheduler is stopped"));
  Done({"task", "service", "start"});
  Done({"task", "run", "T"});
}

}  // namespace
}  // namespace tool
