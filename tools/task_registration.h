// What `task add` and `task runs` take from the command line.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/options.h"
#include "tools/task_listings.h"

namespace CLI {
class App;
}

namespace tool {

struct TaskRegistration {
  std::string path;
  std::string program;  // a name along PATH, or a path
  std::string arguments;
  std::string directory;
  std::string account;  // empty: LocalSystem
  std::string instances = "ignore-new";
  bool disabled = false;
  bool notOnDemand = false;
  bool replace = false;
  bool hasEvent = false;
  std::uint32_t event = 0;
  bool hasData1 = false;
  std::uint32_t data1 = 0;
  std::string view = "64";  // "32", "64", "both"
};

// The members of the request to the scheduler. Pure.
nlohmann::json RegistrationMembers(const TaskRegistration& registration);

// Where the task is to be listed: nowhere, in one view or in both. Pure.
std::vector<TaskListing> ListingsOf(const TaskRegistration& registration);

// Adds the command `add`; `act` carries it out and answers the exit code.
void AddTaskRegistration(CLI::App& group, Options& options,
                         std::function<int(const Options&, const TaskRegistration&)> act);

// Adds the command `runs`.
void AddTaskRuns(CLI::App& group, Options& options);

}  // namespace tool
