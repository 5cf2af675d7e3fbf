// Programs as they are asked for, waited for and remembered; the sessions' own processes.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "machine/process_history.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using nlohmann::json;

json Shell(const std::string& script) {
  return {{"program", "/bin/sh"}, {"arguments", {"-c", script}}};
}

std::string RuntimeFile(const std::string& name) {
  return host::CurrentMachineDirectory().runtime + "/" + name;
}

std::string Text(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

json Row(std::uint32_t pid) {
  std::ifstream file(RuntimeFile("processes/" + std::to_string(pid)));
  return json::parse(file, nullptr, false);
}

class ProgramsTest : public MachineTest {
 protected:
  void SetUp() override { Start(); }

  // Runs it to its end; what it wrote.
  std::string Output(json request) {
    request["output"] = folder_.path() + "/out";
    std::filesystem::remove(folder_.path() + "/out");
    const json started = Ask("process.run", request);
    EXPECT_EQ(started.value("error", 0u), 0u) << started;
    if (started.contains("number")) Ask("process.wait", {{"number", started.at("number")}});
    return Text(folder_.path() + "/out");
  }
};

TEST_F(ProgramsTest, GetWhatTheRequestSays) {
  EXPECT_EQ(Output({{"program", "/usr/bin/printf"}, {"commandLine", R"("any name" "%s|" "a b" c\"d e\\ "")"}}),
            R"(a b|c"d|e\\||)");
  EXPECT_EQ(Output({{"program", "/bin/sh"}, {"commandLine", R"("my shell" -c "tr '\0' ' ' < /proc/$$/cmdline")"}}),
            "my shell -c tr '\\0' ' ' < /proc/$$/cmdline ");
  EXPECT_EQ(Output({{"program", "/usr/bin/env"}, {"environment", {"A=1", "B=two words", "C="}}}),
            "A=1\nB=two words\nC=\n");
  EXPECT_EQ(Output({{"program", "/usr/bin/env"}, {"environment", json::array()}}), "");
  EXPECT_EQ(Output({{"program", "/bin/pwd"}, {"directory", "/usr"}, {"environment", json::array()}}), "/usr\n");
  const int own = getpriority(PRIO_PROCESS, 0);
  EXPECT_EQ(Output({{"program", "/usr/bin/nice"}, {"belowNormal", true}}),
            std::to_string(std::min(own + 5, 19)) + "\n");
  EXPECT_EQ(Output({{"program", "/usr/bin/nice"}}), std::to_string(own) + "\n");
  EXPECT_EQ(Code("process.run", {{"program", "/bin/pwd"}, {"directory", "/no/such"}}), 267u);
  EXPECT_EQ(Code("process.run", {{"program", "/bin/pwd"}, {"directory", "relative"}}), 267u);
  EXPECT_EQ(Code("process.run", {{"program", "/bin/pwd"}, {"environment", {1}}}), 87u);
  EXPECT_EQ(Code("process.run", {{"program", "/" + std::string(5000, 'x')}}), 206u);
  EXPECT_EQ(Code("process.run", {{"program", "/bin/true"}, {"arguments", {std::string(200'000, 'x')}}}), 206u);
}

TEST_F(ProgramsTest, TellHowTheyEnded) {
  struct {
    const char* script;
    unsigned exitCode;
    int signal;
  } const kCases[] = {{"exit 0", 0, 0}, {"exit 255", 255, 0}, {"kill -TERM $$", 143, 15}, {"kill -KILL $$", 137, 9}};
  for (const auto& [script, exitCode, signal] : kCases) {
    const json started = Ask("process.run", Shell(script));
    const json end = Ask("process.wait", {{"pid", started.at("pid")}, {"startTime", started.at("startTime")}});
    EXPECT_EQ(end.at("exitCode"), exitCode) << script;
    EXPECT_EQ(end.value("signal", 0), signal) << script;
    EXPECT_EQ(Ask("process.wait", {{"number", started.at("number")}}).at("exitCode"), exitCode) << "once more";
  }
  EXPECT_EQ(Code("process.wait", {{"number", 4711}}), 87u);
  EXPECT_EQ(Code("process.wait", {{"pid", getpid()}}), 87u);
}

TEST_F(ProgramsTest, AreRemembered) {
  const json identity = {{"userSid", "S-1-5-18"}, {"system", true}};
  const json started =
      Ask("process.run", {{"program", "/bin/sh"}, {"commandLine", "sh -c \"exit 3\""}, {"identity", identity}});
  Ask("process.wait", {{"number", started.at("number")}});
  EXPECT_EQ(Code("process.run", {{"program", "/no/such"}}), 2u);
  const auto sleeping = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("pid").get<pid_t>();

  const json programs = Ask("process.history").at("programs");
  ASSERT_EQ(programs.size(), 2u) << "what did not run is no program of the past: " << programs;
  EXPECT_EQ(programs[0].at("commandLine"), "sh -c \"exit 3\"");
  EXPECT_EQ(programs[0].at("exitCode"), 3);
  EXPECT_EQ(programs[0].at("requester"), getpid());
  EXPECT_EQ(programs[0].at("token").at("system"), true);
  EXPECT_EQ(programs[1].at("pid"), sleeping);
  EXPECT_FALSE(programs[1].contains("exitCode"));
}

TEST_F(ProgramsTest, SomeoneWhoWaitsHearsOfTheEndAlsoWhenTheMachineGoesDown) {
  const auto number = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("number");
  host::MachineLink waiter;
  json end;
  unsigned code = 0;
  std::thread waiting([&] { code = waiter.Call({{"op", "process.wait"}, {"number", number}}, &end); });
  EXPECT_TRUE(Eventually([] { return Ask("process.history").at("programs").at(0).at("waiting") == 1; }));
  Stop();
  waiting.join();
  ASSERT_EQ(code, 0u);
  EXPECT_EQ(end.at("signal"), 15);
}

TEST_F(ProgramsTest, SomeoneWhoWaitsNoLongerIsForgotten) {
  const auto number = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("number");
  const auto waiting = [] { return Ask("process.history").at("programs").at(0).at("waiting"); };
  {
    host::MachineLink waiter;
    EXPECT_EQ(waiter.Post({{"op", "process.wait"}, {"id", 4711}, {"number", number}}), 0u);
    EXPECT_TRUE(Eventually([&] { return waiting() == 1; }));
  }
  EXPECT_TRUE(Eventually([&] { return waiting() == 0; }));
}

TEST(ProcessHistoryTest, KeepsWhatRunsAndTheLastThatEnded) {
  constexpr std::uint64_t kPrograms = 400;
  constexpr std::uint64_t kLongest = 1;
  machine::ProcessHistory history;
  for (std::uint64_t number = 1; number <= kPrograms; ++number)
    history.Add(number, {{}, static_cast<pid_t>(number), 0, std::nullopt, {}});
  for (std::uint64_t number = kPrograms; number >= 1; --number) history.End(number, {false, 7});
  int told = 0;
  const auto tell = [&](const machine::ProcessHistory::Program& program) { told += program.end->value; };
  EXPECT_TRUE(history.OnEnd(kLongest, {tell, [] { return true; }})) << "the last to end, whenever it started";
  EXPECT_EQ(told, 7);
  EXPECT_EQ(history.Report().size(), 256u);
  EXPECT_FALSE(history.Find(kPrograms, 0)) << "the first to end";
}

class SessionProcessTest : public ProgramsTest {};

TEST_F(SessionProcessTest, EverySessionOfPeopleHasOne) {
  const auto first = Ask("session.winlogon", {{"session", 1}}).at("pid").get<std::uint32_t>();
  EXPECT_GE(first, 0x40000000u);
  EXPECT_EQ(Row(first).at("name"), "winlogon.exe");
  EXPECT_EQ(Row(first).at("token").at("userSid"), "S-1-5-18");
  EXPECT_EQ(Row(first).at("token").at("session"), 1);
  EXPECT_EQ(Code("session.winlogon", {{"session", 0}}), 7022u);
  EXPECT_EQ(Code("session.winlogon", {{"session", 2}}), 7022u);

  const auto entered = Ask("session.logon", {{"user", "ada"}, {"remote", true}}).at("session");
  const auto second = Ask("session.winlogon", {{"session", entered}}).at("pid").get<std::uint32_t>();
  EXPECT_EQ(Row(second).at("token").at("session"), entered);
  EXPECT_EQ(Code("session.logoff", {{"session", entered}}), 0u);
  EXPECT_TRUE(Row(second).is_discarded()) << "it goes with its session";
  EXPECT_TRUE(Ask("process.list").at("processes").empty()) << "rows only are no programs";
}

TEST_F(SessionProcessTest, CanBeMissingOtherwiseNamedOrNotTheSystems) {
  const auto pid = Ask("session.winlogon", {{"session", 1}, {"name", "WinLogon.EXE"}, {"system", false}}).at("pid");
  EXPECT_EQ(Row(pid).at("name"), "WinLogon.EXE");
  EXPECT_EQ(Row(pid).at("token").at("system"), false);
  EXPECT_NE(Row(pid).at("token").at("userSid"), "S-1-5-18");
  EXPECT_EQ(Code("session.winlogon", {{"session", 1}, {"present", false}}), 0u);
  EXPECT_TRUE(Row(pid).is_discarded());
  EXPECT_EQ(Code("session.disconnect"), 0u);
  EXPECT_TRUE(Row(pid).is_discarded()) << "a change of the sessions does not bring it back";
  const auto back = Ask("session.winlogon", {{"session", 1}, {"present", true}}).at("pid");
  EXPECT_NE(back, pid);
  EXPECT_EQ(Row(back).at("name"), "WinLogon.EXE");
  EXPECT_EQ(Code("machine.reboot"), 0u);
  const auto booted = Ask("session.winlogon", {{"session", 1}}).at("pid");
  EXPECT_EQ(Row(booted).at("name"), "winlogon.exe") << "a boot starts it as it was";
}

}  // namespace
}  // namespace machine_test
