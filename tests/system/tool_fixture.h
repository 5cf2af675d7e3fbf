// A machine directory of its own, and the tool run on it as people run it.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/child_process.h"

namespace tool {

// How much longer things may take under a sanitizer.
#if defined(__SANITIZE_THREAD__)
constexpr int kSlowness = 10;
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kSlowness = 4;
#else
constexpr int kSlowness = 1;
#endif

struct ToolResult {
  int exitCode;        // 128 plus the signal for a killed one, -1 for one that did not end in time
  std::string output;  // standard output and errors together
};

// One run of the tool that goes on beside the test.
class RunningTool {
 public:
  RunningTool(const std::string& machine, const std::vector<std::string>& arguments);

  // Reads until the output holds `text`; false when it ends, or ten seconds are over, before.
  bool AwaitOutput(const std::string& text);
  ToolResult Finish(std::chrono::seconds patience = std::chrono::seconds(10));
  void Signal(int signal);
  const std::string& Output() const { return output_; }

 private:
  ChildProcess process_;
  std::string output_;
};

// Both lists, one after the other.
std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second);

class ToolTest : public testing::Test {
 protected:
  ToolTest();
  // Takes the machine down and checks that no process of it is left and that no sanitizer complained in one.
  ~ToolTest() override;

  ToolResult Run(const std::vector<std::string>& arguments);
  // The same, of a run that must succeed; answers its output.
  std::string Done(const std::vector<std::string>& arguments);
  std::unique_ptr<RunningTool> Begin(const std::vector<std::string>& arguments);
  // The same of the tool as a process of the machine, with the identity that the options of `run` give it.
  ToolResult RunAs(const std::vector<std::string>& identity, const std::vector<std::string>& arguments);
  std::unique_ptr<RunningTool> BeginAs(const std::vector<std::string>& identity,
                                       const std::vector<std::string>& arguments);

  // A `watch` that has subscribed.
  std::unique_ptr<RunningTool> BeginWatch(std::vector<std::string> arguments = {});

  nlohmann::json Status() { return nlohmann::json::parse(Done({"status", "--json"})); }
  nlohmann::json Query() { return nlohmann::json::parse(Done({"query", "--json"})); }
  pid_t ServicePid() { return Query().at("pid").get<pid_t>(); }
  // Asks the control manager until the service's state is `state`.
  bool AwaitState(unsigned state);
  // Looks at the status until it holds `text`, or holds it no more; answers the last one.
  std::string AwaitStatus(const std::string& text, bool holds = true);

  const std::string& Machine() const { return machine_; }

 private:
  std::string machine_;
};

constexpr unsigned kStopped = 1;
constexpr unsigned kRunning = 4;

// A package, and the capability that lets an app container use the endpoint.
constexpr const char* kPackage = "Quorvex.Settings_m3tq8v0kc2wna";
constexpr const char* kHardwareSettings = "Quorvex.hkd04A7DeviceHardwareSettings_m3tq8v0kc2wna";

}  // namespace tool
