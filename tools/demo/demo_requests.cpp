#include "tools/demo/demo_requests.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "tools/child_process.h"
#include "tools/demo/demo_people.h"
#include "tools/signals.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kRequestPatience{20};

const char* AskerText(Asker asker) {
  if (asker == Asker::Owner) return "";
  return asker == Asker::Package ? "package: " : "package in an app container: ";
}

std::vector<std::string> CommandLine(const DemoRequest& request, const std::string& tool) {
  std::vector<std::string> line;
  if (request.asker != Asker::Owner) line = {"run", "--user", kDemoUser, "--package", kDemoPackage};
  if (request.asker == Asker::Container) line.push_back("--app-container");
  if (request.asker != Asker::Owner) line.insert(line.end(), {"--", tool});
  line.insert(line.end(), request.words.begin(), request.words.end());
  return line;
}

// For people: words with blanks in quotation marks of the shell.
std::string Spoken(const std::vector<std::string>& words) {
  std::string text = "hkd04a7ctl";
  for (const std::string& word : words)
    text += word.find_first_of(" \"$") == std::string::npos ? " " + word : " '" + word + "'";
  return text;
}

struct Outcome {
  int exitCode = -1;  // -1: it did not end in time
  std::string output;
};

Outcome Ask(const DemoRequest& request) {
  Outcome outcome;
  const std::string tool = ProgramFolder() + "/hkd04a7ctl";
  ChildProcess process;
  if (const int error = process.Start(tool, CommandLine(request, tool), ChildProcess::Reads::OutputAndErrors)) {
    outcome.output = std::strerror(error);
    return outcome;
  }
  const auto deadline = Clock::now() + kRequestPatience;
  std::optional<int> ended;
  while (!ended && !Interrupted() && Clock::now() < deadline) {
    while (process.ReadSome(kInterruptLatency, &outcome.output)) continue;
    ended = process.Wait(std::chrono::milliseconds(0));
  }
  outcome.exitCode = ended.value_or(-1);
  return outcome;
}

}  // namespace

bool PlayRequest(const DemoRequest& request) {
  std::printf("    %s%s\n", AskerText(request.asker), Spoken(request.words).c_str());
  const Outcome outcome = Ask(request);
  std::istringstream lines(outcome.output);
  for (std::string line; std::getline(lines, line);) std::printf("      %s\n", line.c_str());
  const bool right = outcome.exitCode == request.exitCode && outcome.output.find(request.answer) != std::string::npos;
  if (!right && !Interrupted())
    std::printf("      EXPECTED \"%s\" and exit code %d, not %d\n", request.answer.c_str(), request.exitCode,
                outcome.exitCode);
  std::fflush(stdout);
  return right;
}

}  // namespace tool
