#include "machine/task.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace machine {

using nlohmann::json;

namespace {

constexpr std::array kInstanceNames = {"parallel", "queue", "ignore-new", "stop-existing"};
// What a path may have in all, with the names of its folders.
constexpr std::size_t kMaxTaskPath = 255;

TaskInstances ReadInstances(const json& value) {
  const auto name = value.value("instances", std::string("ignore-new"));
  const auto found = std::find(kInstanceNames.begin(), kInstanceNames.end(), name);
  if (found == kInstanceNames.end()) throw json::other_error::create(501, "no way to treat instances: " + name, &value);
  return static_cast<TaskInstances>(found - kInstanceNames.begin());
}

bool HasControlCharacter(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char unit) { return unit < ' ' || unit == 0x7F; });
}

bool IsTaskPath(const std::string& path) {
  if (path.empty() || path.size() > kMaxTaskPath || path.find("\\\\") != std::string::npos) return false;
  return !HasControlCharacter(path) && path.front() != '\\' && path.back() != '\\' &&
         path.find_first_of("/:*?\"<>|") == path.npos;
}

}  // namespace

json ToJson(const Task& task) {
  return json{{"path", task.path},
              {"program", task.program},
              {"arguments", task.arguments},
              {"directory", task.directory},
              {"account", task.account},
              {"enabled", task.enabled},
              {"allowDemandStart", task.allowDemandStart},
              {"instances", kInstanceNames[static_cast<std::size_t>(task.instances)]}};
}

Task ReadTask(const json& value) {
  Task task;
  task.path = BelowRoot(value.at("path").get<std::string>());
  task.program = value.at("program").get<std::string>();
  task.arguments = value.value("arguments", "");
  task.directory = value.value("directory", "");
  task.account = value.value("account", "");
  task.enabled = value.value("enabled", true);
  task.allowDemandStart = value.value("allowDemandStart", true);
  task.instances = ReadInstances(value);
  return task;
}

std::string FaultOf(const Task& task) {
  if (!IsTaskPath(task.path)) return "'" + task.path + "' cannot be a task's path";
  if (!task.program.starts_with('/')) return "the program is given by its whole path";
  if (!task.directory.empty() && !task.directory.starts_with('/')) return "the folder is given by its whole path";
  // The system would read the texts up to a null only.
  if (HasControlCharacter(task.program + task.directory)) return "the program or the folder has a control character";
  if (task.arguments.find('\0') != std::string::npos) return "the arguments have a null character";
  return "";
}

std::string BelowRoot(std::string_view path) {
  return std::string(path.starts_with('\\') ? path.substr(1) : path);
}

}  // namespace machine
