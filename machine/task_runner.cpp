#include "machine/task_runner.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/command_line.h"
#include "machine/task_action.h"
#include "machine/task_instance.h"
#include "platform/host/task_scheduler/task_codes.h"

namespace machine {

using nlohmann::json;

namespace {

bool IsSameTask(const std::string& left, const std::string& right) {
  return host::CompareNoCase(host::ToUtf16(left), host::ToUtf16(right)) == 0;
}

// The arguments of a command line, without the program.
std::vector<std::string> ArgumentsOf(const std::string& commandLine) {
  std::vector<std::string> words = SplitCommandLine(commandLine);
  words.erase(words.begin());
  return words;
}

}  // namespace

DWORD TaskRunner::Request(const TaskRunRequest& request, std::string* instance, std::string* reason) {
  const auto run = std::make_shared<Run>();
  run->instance = NewTaskInstance();
  run->request = request;
  NoteRequest(*run);
  if (const DWORD refusal = MayRun(request.task, &run->token, reason)) {
    NoteFailure(*run, refusal, *reason);
    return refusal;
  }
  *instance = run->instance;
  const bool waits = request.task.instances != TaskInstances::kParallel && IsGoing(request.task.path);
  if (!waits) {
    Begin(run);
    return ERROR_SUCCESS;
  }
  if (request.task.instances == TaskInstances::kStopExisting) MakeRoom(request.task.path);
  waiting_.push_back(run);
  Note(*run, "queued", json::object());
  return ERROR_SUCCESS;
}

void TaskRunner::DropWaiting(const std::string& reason) {
  for (const auto& run : std::exchange(waiting_, {})) NoteFailure(*run, ERROR_CANCELLED, reason);
  std::erase_if(going_, [&](const auto& run) {
    if (!run->launched) NoteFailure(*run, ERROR_CANCELLED, reason);
    return !run->launched;
  });
}

DWORD TaskRunner::MayRun(const Task& task, Token* token, std::string* reason) const {
  const auto refuse = [reason](HRESULT code, const char* text) {
    *reason = text;
    return static_cast<DWORD>(code);
  };
  if (!task.enabled) return refuse(SCHED_E_TASK_DISABLED, "the task is disabled");
  if (!task.allowDemandStart) return refuse(SCHED_E_START_ON_DEMAND, "the task may not be run on demand");
  if (!IsUserThere(task, token)) return refuse(SCHED_E_USER_NOT_LOGGED_ON, "the task's user is not logged on");
  if (task.instances == TaskInstances::kIgnoreNew && IsGoing(task.path))
    return refuse(SCHED_E_ALREADY_RUNNING, "an instance of the task is running");
  return ERROR_SUCCESS;
}

// In the user's active session if there is one.
bool TaskRunner::IsUserThere(const Task& task, Token* token) const {
  *token = SystemToken();
  if (task.account.empty()) return true;
  const std::optional<std::string> sid = users_.Find(task.account);
  const Session* chosen = nullptr;
  for (const auto& [number, session] : sessions_.all()) {
    if (!sid || session.sid != *sid || (chosen != nullptr && session.state != SessionState::kActive)) continue;
    if (chosen != nullptr && chosen->state == SessionState::kActive) break;
    chosen = &session;
    *token = Token{};
    token->userSid = *sid;
    token->session = number;
  }
  return chosen != nullptr;
}

bool TaskRunner::IsGoing(const std::string& path) const {
  const auto isOne = [&path](const auto& run) { return IsSameTask(run->request.task.path, path); };
  return std::any_of(going_.begin(), going_.end(), isOne) || std::any_of(waiting_.begin(), waiting_.end(), isOne);
}

void TaskRunner::Note(const Run& run, const char* step, const json& details) {
  log_.Add(run.instance, run.request.task.path, step, details);
}

void TaskRunner::NoteRequest(const Run& run) {
  const TaskRunRequest& request = run.request;
  Note(run, "requested",
       json{{"arguments", request.arguments},
            {"commandLine", TaskCommandLine(request.task, request.arguments)},
            {"account", request.task.account},
            {"requester", request.requester}});
}

void TaskRunner::NoteFailure(const Run& run, DWORD error, const std::string& text) {
  Note(run, "failed", json{{"error", error}, {"text", text}});
}

// Ends what goes on of a task, and drops what waits.
void TaskRunner::MakeRoom(const std::string& path) {
  for (const auto& run : going_) {
    if (!IsSameTask(run->request.task.path, path)) continue;
    run->unwanted = true;
    if (run->running) processes_.Terminate(run->pid);
  }
  std::erase_if(waiting_, [&](const auto& run) {
    const bool dropped = IsSameTask(run->request.task.path, path);
    if (dropped) NoteFailure(*run, ERROR_CANCELLED, "a newer run of the task took its place");
    return dropped;
  });
}

// Later, so that whoever asked for it is answered first.
void TaskRunner::Begin(const std::shared_ptr<Run>& run) {
  going_.push_back(run);
  loop_.Post([this, run] {
    if (std::find(going_.begin(), going_.end(), run) != going_.end()) Launch(run);
  });
}

void TaskRunner::Launch(const std::shared_ptr<Run>& run) {
  run->launched = true;
  const Task& task = run->request.task;
  ProcessRequest process;
  process.program = task.program;
  process.commandLine = TaskCommandLine(task, run->request.arguments);
  process.arguments = ArgumentsOf(process.commandLine);
  process.token = run->token;
  process.directory = task.directory;
  process.requester = run->request.requester;
  ProcessTable::Observer observer;
  observer.entered = [run](pid_t pid) { run->pid = pid; };
  observer.started = [this, run](DWORD error, const std::string& message) { TakeStart(run, error, message); };
  observer.ended = [this, run](const ProcessEnd& end) { TakeEnd(run, end); };
  processes_.Launch(process, std::move(observer));
}

void TaskRunner::TakeStart(const std::shared_ptr<Run>& run, DWORD error, const std::string& message) {
  if (error != ERROR_SUCCESS) {
    NoteFailure(*run, error, message);
    return Leave(run);
  }
  Note(*run, "started", json{{"pid", run->pid}, {"session", run->token.session}});
  run->running = true;
  if (run->unwanted) processes_.Terminate(run->pid);
}

void TaskRunner::TakeEnd(const std::shared_ptr<Run>& run, const ProcessEnd& end) {
  json details = {{"exitCode", ExitCode(end)}, {"text", Describe(end)}};
  if (end.signalled) details["signal"] = end.value;
  Note(*run, "ended", details);
  Leave(run);
}

// The run is over; the one that waited longest for this task takes its place.
void TaskRunner::Leave(const std::shared_ptr<Run>& run) {
  const std::string& path = run->request.task.path;
  std::erase(going_, run);
  const auto isOne = [&path](const auto& other) { return IsSameTask(other->request.task.path, path); };
  if (std::any_of(going_.begin(), going_.end(), isOne)) return;
  for (;;) {
    const auto next = std::find_if(waiting_.begin(), waiting_.end(), isOne);
    if (next == waiting_.end()) return;
    const std::shared_ptr<Run> begun = *next;
    waiting_.erase(next);
    if (IsUserThere(begun->request.task, &begun->token)) return Begin(begun);
    NoteFailure(*begun, static_cast<DWORD>(SCHED_E_USER_NOT_LOGGED_ON), "the task's user has logged off");
  }
}

}  // namespace machine
