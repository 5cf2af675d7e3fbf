// The runs of tasks: whether one may begin, when it begins, and what becomes of it. Loop thread only.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "machine/process_table.h"
#include "machine/sessions.h"
#include "machine/task.h"
#include "machine/task_run_log.h"
#include "machine/user_store.h"

namespace machine {

struct TaskRunRequest {
  Task task;
  std::vector<std::string> arguments;  // at most kMaxTaskArguments
  pid_t requester = 0;
};

class TaskRunner {
 public:
  // All of them live longer; every program has ended, or is nobody's, when the runner goes.
  TaskRunner(Loop& loop, ProcessTable& processes, const UserStore& users, const Sessions& sessions, TaskRunLog& log)
      : loop_(loop), processes_(processes), users_(users), sessions_(sessions), log_(log) {}

  // Asks for a run, which begins later, never from within. 0 and the new instance's GUID in `instance`, or why there is
  // none: an HRESULT (platform/host/task_scheduler/task_codes.h), with a sentence in `reason`. Refusals are logged too.
  DWORD Request(const TaskRunRequest& request, std::string* instance, std::string* reason);

  // No run whose program has not been asked for begins any more. Those that go on are left alone.
  void DropWaiting(const std::string& reason);

  std::size_t going() const { return going_.size(); }
  std::size_t waiting() const { return waiting_.size(); }

 private:
  struct Run {
    std::string instance;
    TaskRunRequest request;
    Token token;
    pid_t pid = 0;
    bool launched = false;  // the process table has been asked for it
    bool running = false;   // it has reported that it runs
    bool unwanted = false;  // to be ended as soon as it runs
  };
  using Runs = std::deque<std::shared_ptr<Run>>;

  DWORD MayRun(const Task& task, Token* token, std::string* reason) const;
  bool IsUserThere(const Task& task, Token* token) const;
  bool IsGoing(const std::string& path) const;
  void Note(const Run& run, const char* step, const nlohmann::json& details);
  void NoteRequest(const Run& run);
  void NoteFailure(const Run& run, DWORD error, const std::string& text);
  void MakeRoom(const std::string& path);
  void Begin(const std::shared_ptr<Run>& run);
  void Launch(const std::shared_ptr<Run>& run);
  void TakeStart(const std::shared_ptr<Run>& run, DWORD error, const std::string& message);
  void TakeEnd(const std::shared_ptr<Run>& run, const ProcessEnd& end);
  void Leave(const std::shared_ptr<Run>& run);

  Loop& loop_;
  ProcessTable& processes_;
  const UserStore& users_;
  const Sessions& sessions_;
  TaskRunLog& log_;
  Runs going_;    // their program runs or is being started
  Runs waiting_;  // for another instance of their task to end
};

}  // namespace machine
