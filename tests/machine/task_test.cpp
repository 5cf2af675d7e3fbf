// The Task Scheduler of the machine: what a run runs, when it begins, what becomes of it.
#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "machine/task_action.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

TEST(TaskAction, ArgumentsStandForTheirNumbersOnly) {
  std::vector<std::string> arguments = {"32", "$(Arg0)", "a\\"};
  const std::pair<const char*, const char*> cases[] = {
      {"$(Arg0)", "32"},
      {"-e $(Arg0) $(Arg0)x$(Arg2)", "-e 32 32xa\\"},
      {"$(Arg1)", "$(Arg0)"},
      {"<$(Arg3)$(Arg31)>", "<>"},
      {"$(Arg32) $(Arg) $(Arg00) $(arg0) $(Arg0 $(Arg-1) $$(Arg0)",
       "$(Arg32) $(Arg) $(Arg00) $(arg0) $(Arg0 $(Arg-1) $32"},
      {"$(Arg99999999999999999999)$(Arg", "$(Arg99999999999999999999)$(Arg"},
      {"$(Arg$(Arg0)", "$(Arg32"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(machine::SubstituteArguments(text, arguments), expected);
}

class TaskTest : public MachineTest {
 protected:
  TaskTest() { Start(); }

  static unsigned Add(const std::string& path, const std::string& script, json changes = json::object()) {
    json task = {{"path", path}, {"program", "/bin/sh"}, {"arguments", "-c \"" + script + "\" sh $(Arg0) $(Arg1)"}};
    task.update(changes);
    return Code("task.add", task);
  }
  static unsigned Run(const std::string& path, json arguments = json::array()) {
    return Code("task.run", {{"path", path}, {"arguments", arguments}});
  }
  static json Runs() { return Ask("task.runs").at("runs"); }
  static std::vector<std::string> States() {
    std::vector<std::string> states;
    for (const json& run : Runs()) states.push_back(run.at("state"));
    return states;
  }
  static bool AwaitStates(const std::vector<std::string>& states) {
    return Eventually([&] { return States() == states; });
  }
  std::string Text(const std::string& file) const {
    std::ifstream stream(folder_.path() + "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  // Waits for the file that a test makes; what ends a run from outside.
  std::string UntilFile(const std::string& name) const {
    return "while ! test -e " + folder_.path() + "/" + name + "; do sleep 0.01; done";
  }
  void MakeFile(const std::string& name) const { std::ofstream(folder_.path() + "/" + name) << "x"; }
};

TEST_F(TaskTest, ARunIsARealProgramAndLeavesARecord) {
  ASSERT_EQ(Add("Folder\\Echo", "echo $1 $2 > out; exit 7", {{"directory", folder_.path()}}), 0u);
  ASSERT_EQ(Run("\\FOLDER\\echo", {"32", "1073741824", "0"}), 0u);
  ASSERT_TRUE(AwaitStates({"ended"}));
  EXPECT_EQ(Text("out"), "32 1073741824\n");
  const json run = Runs().at(0);
  EXPECT_THAT(run.at("instance").get<std::string>(),
              MatchesRegex("\\{[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\}"));
  EXPECT_EQ(run.at("task"), "Folder\\Echo");
  EXPECT_EQ(run.at("arguments"), (json{"32", "1073741824", "0"}));
  EXPECT_THAT(run.at("commandLine").get<std::string>(), HasSubstr("sh 32 1073741824"));
  EXPECT_EQ(run.at("requester"), getpid());
  EXPECT_EQ(run.at("exitCode"), 7);
  EXPECT_LE(run.at("requested").get<std::int64_t>(), run.at("started").get<std::int64_t>());
  EXPECT_LE(run.at("started").get<std::int64_t>(), run.at("ended").get<std::int64_t>());
  const std::string log = Text("run/tasks.log");
  EXPECT_THAT(log, testing::ContainsRegex("\"step\":\"requested\".*\n.*\"step\":\"started\".*\n.*\"step\":\"ended\""));
}

TEST_F(TaskTest, ARequestWhileItRunsGoesByTheTask) {
  const std::string script = UntilFile("go");
  struct Case {
    const char* instances;
    unsigned second;
    std::vector<std::string> before, after;
  };
  const Case cases[] = {
      {"parallel", 0, {"started", "started"}, {"ended", "ended"}},
      {"queue", 0, {"started", "queued"}, {"ended", "ended"}},
      {"ignore-new", 0x8004131F, {"started", "failed"}, {"ended", "failed"}},
      {"stop-existing", 0, {"ended", "started"}, {"ended", "ended"}},
  };
  std::vector<std::string> earlier;
  const auto withEarlier = [&](const std::vector<std::string>& states) {
    std::vector<std::string> all = earlier;
    all.insert(all.end(), states.begin(), states.end());
    return all;
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.instances);
    std::filesystem::remove(folder_.path() + "/go");
    ASSERT_EQ(Add("T", script, {{"instances", test.instances}, {"replace", true}}), 0u);
    EXPECT_EQ(Run("T"), 0u);
    EXPECT_EQ(Run("T"), test.second);
    EXPECT_TRUE(AwaitStates(withEarlier(test.before))) << Runs();
    MakeFile("go");
    EXPECT_TRUE(AwaitStates(withEarlier(test.after))) << Runs();
    earlier = withEarlier(test.after);
  }
}

TEST_F(TaskTest, WhatWaitsRunsInOrderAndOneAtATime) {
  ASSERT_EQ(Add("T", "test -e busy && echo clash >> out; touch busy; echo $1 >> out; rm busy",
                {{"instances", "queue"}, {"directory", folder_.path()}}),
            0u);
  for (int i = 0; i < 5; ++i) ASSERT_EQ(Run("T", {std::to_string(i)}), 0u);
  EXPECT_TRUE(AwaitStates(std::vector<std::string>(5, "ended")));
  EXPECT_EQ(Text("out"), "0\n1\n2\n3\n4\n");
}

TEST_F(TaskTest, WhatCannotRunSaysWhy) {
  ASSERT_EQ(Code("user.add", {{"user", "ada"}}), 0u);
  ASSERT_EQ(Add("Disabled", "true", {{"enabled", false}}), 0u);
  ASSERT_EQ(Add("NotOnDemand", "true", {{"allowDemandStart", false}}), 0u);
  ASSERT_EQ(Add("Away", "true", {{"account", "ADA"}}), 0u);
  ASSERT_EQ(Add("Missing", "", {{"program", "/no/such/program"}}), 0u);
  EXPECT_EQ(Run("Disabled"), 0x80041326u);
  EXPECT_EQ(Run("NotOnDemand"), 0x80041328u);
  EXPECT_EQ(Run("Away"), 0x80041320u);
  EXPECT_EQ(Run("Missing"), 0u) << "that is found out later";
  EXPECT_EQ(Run("Nowhere"), 2u);
  EXPECT_EQ(Run("Disabled", std::vector<std::string>(33, "x")), 87u);
  EXPECT_TRUE(AwaitStates({"failed", "failed", "failed", "failed"}));
  EXPECT_THAT(Runs().at(3).at("error"), 2);
  EXPECT_EQ(Code("task.change", {{"path", "disabled"}, {"enabled", true}}), 0u);
  EXPECT_EQ(Run("Disabled"), 0u);
}

TEST_F(TaskTest, AUsersTaskRunsInTheUsersActiveSession) {
  ASSERT_EQ(Code("session.logon", {{"user", "ada"}}), 0u);
  ASSERT_EQ(Code("session.logon", {{"user", "ada"}, {"remote", true}}), 0u);
  ASSERT_EQ(Code("session.disconnect", {{"session", 1}}), 0u);
  ASSERT_EQ(Add("T", UntilFile("go"), {{"account", "ADA"}}), 0u);
  ASSERT_EQ(Run("T"), 0u);
  ASSERT_TRUE(AwaitStates({"started"}));
  EXPECT_EQ(Runs().at(0).at("session"), 2);
  EXPECT_EQ(Runs().at(0).at("account"), "ada");
  const json rows = Ask("process.list").at("processes");
  EXPECT_FALSE(rows.at(0).at("token").at("system").get<bool>());
  EXPECT_EQ(rows.at(0).at("token").at("userSid"), Ask("user.list").at("users").at(0).at("sid"));
  MakeFile("go");
  EXPECT_TRUE(AwaitStates({"ended"}));
}

TEST_F(TaskTest, RegistrationsSurviveABootAndAreCheckedFirst) {
  const json bad[] = {{{"path", ""}, {"program", "/bin/true"}},
                      {{"path", "a\\\\b"}, {"program", "/bin/true"}},
                      {{"path", "a/b"}, {"program", "/bin/true"}},
                      {{"path", "T\n"}, {"program", "/bin/true"}},
                      {{"path", "T"}, {"program", "true"}},
                      {{"path", "T"}, {"program", "/bin/true"}, {"directory", "x"}},
                      {{"path", "T"}, {"program", "/bin/true"}, {"instances", "some"}},
                      {{"path", "T"}, {"program", "/bin/true"}, {"enabled", 1}},
                      {{"path", "T"}}};
  for (const json& task : bad) EXPECT_EQ(Code("task.add", task), 87u) << task;
  EXPECT_EQ(Add("T", "true", {{"account", "nobody"}}), 1332u);
  EXPECT_THAT(Ask("task.list").at("tasks"), IsEmpty());
  ASSERT_EQ(Add("T", "true", {{"instances", "queue"}}), 0u);
  EXPECT_EQ(Add("t", "false"), 183u);
  const json tasks = Ask("task.list").at("tasks");
  Stop();
  Start();
  EXPECT_EQ(Ask("task.list").at("tasks"), tasks);
  EXPECT_EQ(Code("task.remove", {{"path", "\\T"}}), 0u);
  EXPECT_EQ(Code("task.remove", {{"path", "T"}}), 2u);
}

TEST_F(TaskTest, WhileTheSchedulerIsStoppedNothingBegins) {
  ASSERT_EQ(Add("T", UntilFile("go"), {{"instances", "queue"}}), 0u);
  const auto connection = Ask("task.connect").at("connection").get<unsigned>();
  ASSERT_EQ(Run("T"), 0u);
  ASSERT_TRUE(AwaitStates({"started"}));
  ASSERT_EQ(Run("T"), 0u);
  ASSERT_EQ(Code("task.service", {{"running", false}}), 0u);
  EXPECT_TRUE(AwaitStates({"started", "failed"})) << "what goes on is left alone";
  EXPECT_EQ(Code("task.connect"), 0x80041315u);
  EXPECT_EQ(Run("T"), 0x80041315u);
  ASSERT_EQ(Code("task.service", {{"running", true}}), 0u);
  EXPECT_EQ(Code("task.find", {{"path", "T"}, {"connection", connection}}), 1727u);
  EXPECT_EQ(Code("task.find", {{"path", "T"}, {"connection", Ask("task.connect").at("connection")}}), 0u);
  MakeFile("go");
  EXPECT_TRUE(AwaitStates({"ended", "failed"}));
}

TEST_F(TaskTest, AMachineGoesDownWithRunsGoing) {
  ASSERT_EQ(Add("P", "sleep 100", {{"instances", "parallel"}}), 0u);
  ASSERT_EQ(Add("Q", "sleep 100", {{"instances", "queue"}}), 0u);
  for (const char* task : {"P", "Q", "P", "Q", "Q"}) ASSERT_EQ(Run(task), 0u);
  ASSERT_TRUE(AwaitStates({"started", "started", "started", "queued", "queued"}));
  const auto pid = Runs().at(0).at("pid").get<pid_t>();
  const json counts = Ask("machine.status").at("tasks");
  EXPECT_EQ(counts.at("runsGoing"), 3);
  EXPECT_EQ(counts.at("runsWaiting"), 2);
  EXPECT_EQ(Run("P"), 0u) << "one that has only been asked for";
  Stop();
  EXPECT_EQ(kill(pid, 0), -1);
  Start();
  EXPECT_THAT(States(), IsEmpty());
  EXPECT_THAT(Ask("process.list").at("processes"), IsEmpty());
}

}  // namespace
}  // namespace machine_test
