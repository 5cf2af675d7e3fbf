#include "machine/task_store.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/json_file.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

bool TaskStore::Load(std::string* error) {
  json file;
  const JsonFileResult result = ReadJsonFile(path_, &file, error);
  if (result != JsonFileResult::kRead) return result == JsonFileResult::kMissing;
  try {
    for (const json& value : file.at("tasks").get_ref<const json::array_t&>()) {
      const Task task = ReadTask(value);
      if (const std::string fault = FaultOf(task); !fault.empty()) {
        *error = path_ + ": " + fault;
        return false;
      }
      tasks_[task.path] = task;
    }
  } catch (const json::exception& wrong) {
    *error = path_ + ": " + wrong.what();
    return false;
  }
  return true;
}

const Task* TaskStore::Find(const std::string& path) const {
  const auto found = tasks_.find(BelowRoot(path));
  return found != tasks_.end() ? &found->second : nullptr;
}

bool TaskStore::HasFolder(const std::string& path) const {
  const std::u16string folder = host::ToUtf16(BelowRoot(path) + '\\');
  if (folder.size() == 1) return true;
  return std::any_of(tasks_.begin(), tasks_.end(), [&](const auto& entry) {
    return host::CompareNoCase(host::ToUtf16(entry.first).substr(0, folder.size()), folder) == 0;
  });
}

unsigned TaskStore::Put(const Task& task, std::string* error) {
  Tasks changed = tasks_;
  changed.erase(task.path);
  changed.emplace(task.path, task);
  return Commit(std::move(changed), error);
}

unsigned TaskStore::Remove(const std::string& path, std::string* error) {
  Tasks changed = tasks_;
  if (changed.erase(BelowRoot(path)) != 0) return Commit(std::move(changed), error);
  *error = "no task has the path '" + path + "'";
  return ERROR_FILE_NOT_FOUND;
}

json TaskStore::Report() const {
  json report = json::array();
  for (const auto& [path, task] : tasks_) report.push_back(ToJson(task));
  return report;
}

unsigned TaskStore::Commit(Tasks changed, std::string* error) {
  json tasks = json::array();
  for (const auto& [path, task] : changed) tasks.push_back(ToJson(task));
  if (!WriteJsonFile(path_, json{{"tasks", tasks}}, true, error)) return ERROR_WRITE_FAULT;
  tasks_ = std::move(changed);
  return ERROR_SUCCESS;
}

}  // namespace machine
