// The registered tasks, kept in `<state>/tasks.json`: they survive a boot. Loop thread only.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "machine/name_order.h"
#include "machine/task.h"

namespace machine {

class TaskStore {
 public:
  explicit TaskStore(std::string path) : path_(std::move(path)) {}

  // False with a sentence in `error` when the file is damaged.
  bool Load(std::string* error);

  // Paths differ in more than case; a backslash may stand before one. Null when there is no such task.
  const Task* Find(const std::string& path) const;
  // Whether the path is that of the root (empty) or of a folder with a task somewhere in it.
  bool HasFolder(const std::string& path) const;

  // The changes answer 0 when they are written down, else a Win32 code with a sentence in `error`; nothing has changed
  // then. Put replaces a task of the same path.
  unsigned Put(const Task& task, std::string* error);
  unsigned Remove(const std::string& path, std::string* error);

  nlohmann::json Report() const;
  std::size_t size() const { return tasks_.size(); }

 private:
  using Tasks = std::map<std::string, Task, NameLess>;

  unsigned Commit(Tasks changed, std::string* error);

  const std::string path_;
  Tasks tasks_;
};

}  // namespace machine
