// task runs: what became of the runs of tasks.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "tools/exit_codes.h"
#include "tools/file_follower.h"
#include "tools/machine_call.h"
#include "tools/numbers.h"
#include "tools/report.h"
#include "tools/task_registration.h"
#include "tools/task_text.h"

namespace tool {
namespace {

using nlohmann::json;

int ShowRuns(const Options& options, std::size_t lines) {
  json reply;
  const MachineRequest request{"show the runs", "the machine", "", std::chrono::seconds(30)};
  if (int code = CallMachine(options, request, json{{"op", "task.runs"}}, &reply); code != kDone) return code;
  const json& runs = reply.at("runs");
  for (std::size_t at = lines != 0 && runs.size() > lines ? runs.size() - lines : 0; at < runs.size(); ++at) {
    const std::string text =
        options.json ? runs[at].dump(-1, ' ', false, json::error_handler_t::replace) : RunText(runs[at]);
    std::printf("%s\n", text.c_str());
  }
  return kDone;
}

void ShowStep(const Options& options, const std::string& line) {
  const json record = json::parse(line, nullptr, false);
  const bool readable = record.is_object() && !options.json;
  std::printf("%s\n", readable ? RunStepText(record).c_str() : line.c_str());
}

// Ends with the process (Ctrl-C), or when the output takes nothing more.
int FollowRuns(const Options& options, std::size_t lines) {
  constexpr std::chrono::milliseconds kLookInterval{50};
  if (int code = RequireMachine(options, "follow the runs"); code != kDone) return code;
  FileFollower file(host::CurrentMachineDirectory().runtime + "/tasks.log");
  std::vector<std::string> steps = file.ReadNew();
  if (lines != 0 && steps.size() > lines) steps.erase(steps.begin(), steps.end() - static_cast<std::ptrdiff_t>(lines));
  while (true) {
    for (const std::string& step : steps) ShowStep(options, step);
    if (!OutputIsSound()) return kDone;
    std::this_thread::sleep_for(kLookInterval);
    steps = file.ReadNew();
  }
}

}  // namespace

void AddTaskRuns(CLI::App& group, Options& options) {
  CLI::App* runs = group.add_subcommand("runs", "show the last 1000 runs since the machine came up");
  auto follow = std::make_shared<bool>(false);
  auto lines = std::make_shared<std::uint32_t>(0);
  runs->add_flag("-f,--follow", *follow, "show each step of each run, and go on with what comes");
  AddWord(*runs, "-n,--lines", lines.get(), "only the last N");
  runs->callback([&options, follow, lines] {
    options.action = [&options, follow, lines] {
      return *follow ? FollowRuns(options, *lines) : ShowRuns(options, *lines);
    };
  });
}

}  // namespace tool
