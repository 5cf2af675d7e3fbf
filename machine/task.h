// A task of the Task Scheduler: what it runs, as whom, and when it may. Pure functions.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace machine {

// What a request means for a task that is running already.
enum class TaskInstances { kParallel = 0, kQueue = 1, kIgnoreNew = 2, kStopExisting = 3 };

struct Task {
  std::string path;       // below the root folder, as "Folder\Name", without a backslash before it
  std::string program;    // an absolute path
  std::string arguments;  // as on a command line; $(Arg0) to $(Arg31) stand for those of the run
  std::string directory;  // the current one to begin with; empty: the daemon's
  std::string account;    // a user's name; empty: LocalSystem
  bool enabled = true;
  bool allowDemandStart = true;
  TaskInstances instances = TaskInstances::kIgnoreNew;
};

// The members "path", "program", "arguments", "directory", "account", "enabled", "allowDemandStart" and "instances":
// "parallel", "queue", "ignore-new" or "stop-existing".
nlohmann::json ToJson(const Task& task);
// Only "path" and "program" must be there. Throws json's exception for a member that is missing or of a wrong type;
// other names of "instances" are one.
Task ReadTask(const nlohmann::json& value);

// Empty when `task` can be registered, else what is wrong with it.
std::string FaultOf(const Task& task);

// The path without the backslash that may stand before it.
std::string BelowRoot(std::string_view path);

}  // namespace machine
