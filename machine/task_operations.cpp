#include "machine/task_operations.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/connection.h"
#include "machine/task_action.h"
#include "platform/host/task_scheduler/task_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kConnectionIsOld = 1727;  // RPC_S_CALL_FAILED_DNE

}  // namespace

TaskOperations::TaskOperations(Loop& loop, const std::string& stateFolder, const std::string& runtimeFolder,
                               ProcessTable& processes, const UserStore& users, const Sessions& sessions)
    : users_(users),
      store_(stateFolder + "/tasks.json"),
      log_(runtimeFolder + "/tasks.log"),
      runner_(loop, processes, users, sessions, log_) {}

void TaskOperations::AddOperations(OpRegistry& operations) {
  AddWhileRunning(operations, "task.folder", &TaskOperations::FindFolder);
  AddWhileRunning(operations, "task.find", &TaskOperations::FindTask);
  AddWhileRunning(operations, "task.run", &TaskOperations::Run);
  AddWhileRunning(operations, "task.add", &TaskOperations::Add);
  AddWhileRunning(operations, "task.remove", &TaskOperations::Remove);
  AddWhileRunning(operations, "task.change", &TaskOperations::Change);
  AddWhileRunning(operations, "task.connect", &TaskOperations::Connect);
  operations.Add("task.service", [this](const Request& request) { Switch(request); });
  operations.Add("task.list", [this](const Request& request) {
    request.responder.Reply(json{{"tasks", store_.Report()}});
  });
  operations.Add("task.runs", [this](const Request& request) {
    request.responder.Reply(json{{"runs", log_.Report()}});
  });
}

void TaskOperations::AddWhileRunning(OpRegistry& operations, const char* name,
                                     void (TaskOperations::*handle)(const Request&)) {
  operations.Add(name, [this, handle](const Request& request) {
    if (running_) return (this->*handle)(request);
    request.responder.Fail(static_cast<DWORD>(SCHED_E_SERVICE_NOT_RUNNING), "the Task Scheduler is stopped");
  });
}

void TaskOperations::ShutDown() {
  Stop("the machine goes down");
}

void TaskOperations::Boot() {
  ++connection_;
  running_ = true;
}

json TaskOperations::Report() const {
  return json{{"running", running_},
              {"registered", store_.size()},
              {"runsGoing", runner_.going()},
              {"runsWaiting", runner_.waiting()}};
}

void TaskOperations::Connect(const Request& request) {
  request.responder.Reply(json{{"connection", connection_}});
}

bool TaskOperations::IsConnected(const Request& request) const {
  if (request.body.value("connection", connection_) == connection_) return true;
  request.responder.Fail(kConnectionIsOld, "the connection is one to a Task Scheduler that was stopped meanwhile");
  return false;
}

// The task that the request names; null after a refusal.
const Task* TaskOperations::Named(const Request& request) const {
  const auto path = request.body.at("path").get<std::string>();
  const Task* task = store_.Find(path);
  if (task == nullptr) request.responder.Fail(ERROR_FILE_NOT_FOUND, "no task has the path '" + path + "'");
  return task;
}

void TaskOperations::FindFolder(const Request& request) {
  if (!IsConnected(request)) return;
  const auto path = request.body.at("path").get<std::string>();
  if (!store_.HasFolder(path)) return request.responder.Fail(ERROR_FILE_NOT_FOUND, "there is no folder '" + path + "'");
  request.responder.Done();
}

void TaskOperations::FindTask(const Request& request) {
  if (!IsConnected(request)) return;
  if (const Task* task = Named(request)) request.responder.Reply(json{{"path", task->path}});
}

void TaskOperations::Run(const Request& request) {
  if (!IsConnected(request)) return;
  const auto arguments = request.body.value("arguments", std::vector<std::string>{});
  if (arguments.size() > kMaxTaskArguments)
    return request.responder.Fail(ERROR_INVALID_PARAMETER, "a run takes 32 arguments at most");
  const Task* task = Named(request);
  if (task == nullptr) return;
  std::string instance;
  std::string reason;
  if (const DWORD code = runner_.Request({*task, arguments, request.connection->peer().pid}, &instance, &reason))
    return request.responder.Fail(code, reason);
  request.responder.Reply(json{{"instance", instance}});
}

void TaskOperations::Add(const Request& request) {
  Task task = ReadTask(request.body);
  if (const std::string fault = FaultOf(task); !fault.empty())
    return request.responder.Fail(ERROR_INVALID_PARAMETER, fault);
  if (!task.account.empty() && !users_.Find(task.account))
    return request.responder.Fail(ERROR_NONE_MAPPED, "there is no user '" + task.account + "'");
  task.account = users_.Spelling(task.account);
  if (store_.Find(task.path) != nullptr && !request.body.value("replace", false))
    return request.responder.Fail(ERROR_ALREADY_EXISTS, "there is a task of this path");
  std::string error;
  if (const DWORD code = store_.Put(task, &error)) return request.responder.Fail(code, error);
  request.responder.Reply(ToJson(task));
}

void TaskOperations::Remove(const Request& request) {
  std::string error;
  if (const DWORD code = store_.Remove(request.body.at("path").get<std::string>(), &error))
    return request.responder.Fail(code, error);
  request.responder.Done();
}

void TaskOperations::Change(const Request& request) {
  const bool enabled = request.body.at("enabled").get<bool>();
  const Task* task = Named(request);
  if (task == nullptr) return;
  Task changed = *task;
  changed.enabled = enabled;
  std::string error;
  if (const DWORD code = store_.Put(changed, &error)) return request.responder.Fail(code, error);
  request.responder.Reply(ToJson(changed));
}

void TaskOperations::Switch(const Request& request) {
  const bool running = request.body.at("running").get<bool>();
  if (running && !running_) Boot();
  if (!running) Stop("the Task Scheduler was stopped");
  request.responder.Done();
}

void TaskOperations::Stop(const std::string& reason) {
  running_ = false;
  runner_.DropWaiting(reason);
}

}  // namespace machine
