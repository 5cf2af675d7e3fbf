// The Task Scheduler as the control socket's operations. Loop thread only.
//
//   task.connect {}                                    -> {"connection"}
//   task.folder  {"connection","path"}
//   task.find    {"connection","path"}                 -> {"path"}, as it is registered
//   task.run     {"path","arguments"}, "connection" where there is one  -> {"instance"}
//   task.add     a task's members (task.h), "replace": whether one of this path may be there
//   task.remove  {"path"}
//   task.change  {"path","enabled"}
//   task.list    {}                                    -> {"tasks"}
//   task.runs    {}                                    -> {"runs"} (task_run_log.h)
//   task.service {"running"}                           stops or starts the scheduler
//
// While the scheduler is stopped all but the last three fail with SCHED_E_SERVICE_NOT_RUNNING. A connection made before
// the scheduler was started anew fails with 1727.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "machine/op_registry.h"
#include "machine/task_run_log.h"
#include "machine/task_runner.h"
#include "machine/task_store.h"

namespace machine {

class TaskOperations {
 public:
  // What the scheduler works on lives longer. The tasks stand in `<state>/tasks.json`, the log in
  // `<runtime>/tasks.log`.
  TaskOperations(Loop& loop, const std::string& stateFolder, const std::string& runtimeFolder, ProcessTable& processes,
                 const UserStore& users, const Sessions& sessions);

  // False with a sentence in `error` when the registered tasks cannot be read.
  bool Load(std::string* error) { return store_.Load(error); }
  void AddOperations(OpRegistry& operations);

  // The machine goes down: nothing new begins; the process table ends what goes on.
  void ShutDown();
  // After ShutDown, with another machine's life: the scheduler runs.
  void Boot();

  // {"running","registered","runsGoing","runsWaiting"}
  nlohmann::json Report() const;

 private:
  void AddWhileRunning(OpRegistry& operations, const char* name, void (TaskOperations::*handle)(const Request&));
  bool IsConnected(const Request& request) const;
  const Task* Named(const Request& request) const;
  void Connect(const Request& request);
  void FindFolder(const Request& request);
  void FindTask(const Request& request);
  void Run(const Request& request);
  void Add(const Request& request);
  void Remove(const Request& request);
  void Change(const Request& request);
  void Switch(const Request& request);
  void Stop(const std::string& reason);

  const UserStore& users_;
  TaskStore store_;
  TaskRunLog log_;
  TaskRunner runner_;
  bool running_ = true;
  std::uint64_t connection_ = 1;  // grows with each start of the scheduler
};

}  // namespace machine
