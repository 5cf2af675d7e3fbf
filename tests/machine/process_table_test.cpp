// Processes under keepers, and the daemon as a process of its own.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/link/machine_link.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using nlohmann::json;

// An ended process that its parent has not looked after yet is gone too.
bool IsGone(pid_t pid) {
  const auto stat = host::ReadProcessStat(pid);
  return !stat || stat->state == 'Z';
}

std::string RowPath(pid_t pid) {
  return host::CurrentMachineDirectory().runtime + "/processes/" + std::to_string(pid);
}

// A shell that leaves a grandchild behind, whose pid it writes to `path`; both ignore the polite request to end.
json StubbornFamily(const std::string& path) {
  const std::string script =
      "trap '' TERM; (trap '' TERM; while :; do sleep 1; done) & echo $! > " + path + "; while :; do sleep 1; done";
  return {{"program", "/bin/sh"}, {"arguments", {"-c", script}}};
}

pid_t ReadPid(const std::string& path) {
  pid_t pid = 0;
  EXPECT_TRUE(Eventually([&] {
    std::ifstream file(path);
    return static_cast<bool>(file >> pid);
  }));
  return pid;
}

class ProcessTableTest : public MachineTest {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(ProcessTableTest, AProgramStandsInTheTableBeforeItRuns) {
  const std::string copy = folder_.path() + "/row";
  const std::string script = "cat " + host::CurrentMachineDirectory().runtime + "/processes/$$ > " + copy +
                             "; echo $HKD04A7_MACHINE $(ls -l /proc/$$/fd | grep -c socket) >> " + copy;
  const json identity = {{"user", "ada"}, {"session", 2}, {"capabilities", {"S-1-15-3-1"}}, {"appContainer", true}};
  const json answer =
      Ask("process.run", {{"program", "/bin/sh"}, {"arguments", {"-c", script}}, {"identity", identity}});
  const auto pid = answer.at("pid").get<pid_t>();
  ASSERT_TRUE(Eventually([&] { return access(RowPath(pid).c_str(), F_OK) != 0; })) << "the row goes with the process";
  EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));

  std::ifstream file(copy);
  json row;
  file >> row;
  std::string root, sockets;
  file >> root >> sockets;
  EXPECT_EQ(row.at("pid"), pid);
  EXPECT_GT(row.at("startTime").get<std::uint64_t>(), 0u);
  EXPECT_EQ(row.at("token").at("session"), 2);
  EXPECT_EQ(row.at("token").at("system"), false);
  EXPECT_EQ(row.at("token").at("capabilities"), json({"S-1-15-3-1"}));
  EXPECT_EQ(row.at("token").at("userSid"), Ask("user.list").at("users").at(0).at("sid"));
  EXPECT_EQ(root, folder_.path());
  EXPECT_EQ(sockets, "0") << "nothing of the keeper's is inherited";
}

TEST_F(ProcessTableTest, ProgramsThatCannotRun) {
  EXPECT_EQ(Code("process.run", {{"program", "/no/such"}}), 2u);
  EXPECT_EQ(Code("process.run", {{"program", "/etc/passwd"}}), 5u);
  const std::string noProgram = folder_.path() + "/text";
  std::ofstream(noProgram) << "plain text";
  chmod(noProgram.c_str(), 0700);
  EXPECT_EQ(Code("process.run", {{"program", noProgram}}), 193u);
  EXPECT_EQ(Code("process.run", {{"program", "/bin/true"}, {"identity", {{"session", "x"}}}}), 87u);
  EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));
  EXPECT_EQ(Code("process.end", {{"pid", 1}}), 87u);
}

TEST_F(ProcessTableTest, EndingAProgramEndsWhatItLeftRunning) {
  const auto pid = Ask("process.run", StubbornFamily(folder_.path() + "/child")).at("pid").get<pid_t>();
  const pid_t child = ReadPid(folder_.path() + "/child");
  EXPECT_EQ(Code("process.end", {{"pid", pid}}), 0u);
  EXPECT_TRUE(Eventually([&] { return IsGone(pid) && IsGone(child); }));
}

TEST_F(ProcessTableTest, AKilledKeeperTakesItsProgramWithIt) {
  const auto pid = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("pid").get<pid_t>();
  const auto keeper = Ask("process.list").at("processes").at(0).at("keeper").get<pid_t>();
  ASSERT_EQ(kill(keeper, SIGKILL), 0);
  EXPECT_TRUE(Eventually([&] { return IsGone(pid) && Ask("process.list").at("processes").empty(); }));
}

class DaemonTest : public testing::Test {
 protected:
  DaemonTest() { host::UseMachineDirectory(folder_.path()); }
  // It goes on with its folder after its answer.
  ~DaemonTest() override {
    const json status = Ask("machine.status");
    if (status.contains("pid") && Code("machine.down") == 0) {
      EXPECT_TRUE(Eventually([&status] { return IsGone(status.at("pid").get<pid_t>()); }));
    }
    host::MachineLink::Reset();
  }

  // Runs the daemon program, which returns when the machine is up; its exit status.
  static int RunDaemon() {
    const std::string command = ProgramBeside("hkd04a7-machine") + " 2>/dev/null";
    return WEXITSTATUS(std::system(command.c_str()));
  }

  TemporaryFolder folder_;
};

// Whoever kills a keeper frees nobody from the machine: what it leaves is the daemon's, and has no token until it ends.
TEST_F(DaemonTest, EndsWhatAKilledKeeperLeaves) {
  ASSERT_EQ(RunDaemon(), 0);
  const auto other = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("pid").get<pid_t>();
  const std::string script = "setsid sh -c 'echo $$ > " + folder_.path() + "/child; sleep 100; true' & exec sleep 100";
  const json family = {{"program", "/bin/sh"}, {"arguments", {"-c", script}}};
  const auto pid = Ask("process.run", family).at("pid").get<pid_t>();
  const pid_t child = ReadPid(folder_.path() + "/child");
  const pid_t keeper = host::ParentProcess(pid);
  EXPECT_FALSE(host::TokenOfProcess(host::ParentProcess(keeper)));
  ASSERT_EQ(kill(keeper, SIGKILL), 0);
  EXPECT_TRUE(Eventually([&] { return IsGone(pid) && IsGone(child); }));
  EXPECT_TRUE(Eventually([&] { return !host::ReadProcessStat(keeper) && !host::ReadProcessStat(child); })) << "reaped";
  EXPECT_FALSE(IsGone(other));
  EXPECT_EQ(Ask("process.list").at("processes").size(), 1u);
}

TEST_F(DaemonTest, ComesUpOnceAndGoesDown) {
  ASSERT_EQ(RunDaemon(), 0);
  EXPECT_EQ(RunDaemon(), 1);
  const auto daemon = Ask("machine.status").at("pid").get<pid_t>();
  EXPECT_NE(daemon, getpid());
  const auto pid = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("pid").get<pid_t>();
  EXPECT_EQ(Code("machine.down"), 0u);
  EXPECT_TRUE(IsGone(pid)) << "nothing runs when the answer comes";
  EXPECT_TRUE(Eventually([&] { return IsGone(daemon); }));
  EXPECT_EQ(Code("ping"), 1062u);
}

TEST_F(DaemonTest, AKilledDaemonLeavesNoProcessAndCanComeUpAgain) {
  ASSERT_EQ(RunDaemon(), 0);
  const auto daemon = Ask("machine.status").at("pid").get<pid_t>();
  ASSERT_EQ(Code("service.create", {{"name", "Dummy"}, {"program", ProgramBeside("machine-dummy-service")}}), 0u);
  const auto service = Ask("service.start", {{"name", "Dummy"}}).at("pid").get<pid_t>();
  const auto shell = Ask("process.run", StubbornFamily(folder_.path() + "/child")).at("pid").get<pid_t>();
  const pid_t child = ReadPid(folder_.path() + "/child");
  ASSERT_EQ(kill(daemon, SIGKILL), 0);
  EXPECT_TRUE(Eventually([&] { return IsGone(service) && IsGone(shell) && IsGone(child); }));
  ASSERT_EQ(RunDaemon(), 0);
  EXPECT_EQ(Ask("service.query", {{"name", "Dummy"}}).at("state"), 1);
  EXPECT_TRUE(Ask("machine.status").at("processes").empty());
}

TEST_F(DaemonTest, ATermSignalTakesItDown) {
  ASSERT_EQ(RunDaemon(), 0);
  const auto daemon = Ask("machine.status").at("pid").get<pid_t>();
  const auto pid = Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}}).at("pid").get<pid_t>();
  ASSERT_EQ(kill(daemon, SIGTERM), 0);
  EXPECT_TRUE(Eventually([&] { return IsGone(daemon); }));
  EXPECT_TRUE(IsGone(pid));
}

}  // namespace
}  // namespace machine_test
