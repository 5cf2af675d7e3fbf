#include "tests/system/tool_fixture.h"

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(10) * kSlowness;

std::string ReadWhole(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// Processes that were started for the machine: its directory stands in their environment or command line.
std::vector<std::string> ProcessesOf(const std::string& machine) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string pid = entry.path().filename();
    if (pid.find_first_not_of("0123456789") != std::string::npos || pid == std::to_string(getpid())) continue;
    const std::string text =
        ReadWhole(entry.path().string() + "/environ") + ReadWhole(entry.path().string() + "/cmdline");
    if (text.find(machine) != std::string::npos) found.push_back(pid);
  }
  return found;
}

}  // namespace

std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

RunningTool::RunningTool(const std::string& machine, const std::vector<std::string>& arguments) {
  EXPECT_EQ(process_.Start(ProgramFolder() + "/hkd04a7ctl", Joined({"--machine", machine}, arguments),
                           ChildProcess::Reads::OutputAndErrors),
            0);
}

bool RunningTool::AwaitOutput(const std::string& text) {
  while (output_.find(text) == std::string::npos)
    if (!process_.ReadSome(kPatience, &output_)) return false;
  return true;
}

ToolResult RunningTool::Finish(std::chrono::seconds patience) {
  while (process_.ReadSome(patience, &output_)) {
  }
  return {process_.Wait(patience).value_or(-1), output_};
}

void RunningTool::Signal(int signal) {
  kill(process_.Pid(), signal);
}

ToolTest::ToolTest() : machine_(testing::TempDir() + "system-XXXXXX") {
  EXPECT_NE(mkdtemp(machine_.data()), nullptr);
}

ToolTest::~ToolTest() {
  Run({"down"});
  const auto deadline = Clock::now() + kPatience;
  while (!ProcessesOf(machine_).empty() && Clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(ProcessesOf(machine_), std::vector<std::string>()) << "left behind";
  // What the sanitizers have to say of the machine's own programs.
  const std::string output = ReadWhole(machine_ + "/run/output.log");
  EXPECT_EQ(output.find("Sanitizer"), std::string::npos) << output;
  std::error_code error;
  std::filesystem::remove_all(machine_, error);
}

std::unique_ptr<RunningTool> ToolTest::Begin(const std::vector<std::string>& arguments) {
  return std::make_unique<RunningTool>(machine_, arguments);
}

std::unique_ptr<RunningTool> ToolTest::BeginAs(const std::vector<std::string>& identity,
                                               const std::vector<std::string>& arguments) {
  const std::vector<std::string> program = {"--", ProgramFolder() + "/hkd04a7ctl"};
  return Begin(Joined(Joined({"run"}, identity), Joined(program, arguments)));
}

ToolResult ToolTest::RunAs(const std::vector<std::string>& identity, const std::vector<std::string>& arguments) {
  return BeginAs(identity, arguments)->Finish(std::chrono::seconds(60));
}

std::unique_ptr<RunningTool> ToolTest::BeginWatch(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "watch");
  auto watch = Begin(arguments);
  EXPECT_TRUE(watch->AwaitOutput("subscribed")) << watch->Output();
  return watch;
}

ToolResult ToolTest::Run(const std::vector<std::string>& arguments) {
  return Begin(arguments)->Finish(std::chrono::seconds(60));
}

std::string ToolTest::Done(const std::vector<std::string>& arguments) {
  const ToolResult result = Run(arguments);
  EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(arguments) << '\n' << result.output;
  return result.output;
}

bool ToolTest::AwaitState(unsigned state) {
  const auto deadline = Clock::now() + kPatience;
  while (Query().at("state") != state) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

std::string ToolTest::AwaitStatus(const std::string& text, bool holds) {
  const auto deadline = Clock::now() + kPatience;
  std::string status;
  do {
    status = Done({"status"});
  } while ((status.find(text) != std::string::npos) != holds && Clock::now() < deadline);
  return status;
}

}  // namespace tool
