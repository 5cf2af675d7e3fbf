#include "platform/host/services/service_process.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "platform/host/link/machine_link.h"

namespace host {

using nlohmann::json;

namespace {

// A routine that has reported SERVICE_STOPPED still tidies up. One that never returns is left behind after this time.
constexpr std::chrono::seconds kRoutineLimit{10};

std::mutex g_instanceMutex;
std::shared_ptr<ServiceInstance> g_instance;  // guarded by g_instanceMutex
bool g_dispatching = false;                   // guarded by g_instanceMutex

ReceivedControl ReadControl(const json& message) {
  return ReceivedControl{message.value("number", std::uint64_t{0}), message.value("control", DWORD{0}),
                         message.value("eventType", DWORD{0}), message.value("session", DWORD{0})};
}

// Hands the manager's messages to an instance while it lives.
class ManagerMessages {
 public:
  explicit ManagerMessages(ServiceInstance& instance) {
    MachineLink& link = MachineLink::Instance();
    link.Listen("service.control", [&instance](const json& message) { instance.Receive(ReadControl(message)); });
    link.Listen("link.closed", [&instance](const json&) { instance.LoseConnection(); });
  }
  ~ManagerMessages() {
    MachineLink::Instance().Listen("service.control", nullptr);
    MachineLink::Instance().Listen("link.closed", nullptr);
  }
  ManagerMessages(const ManagerMessages&) = delete;
  ManagerMessages& operator=(const ManagerMessages&) = delete;
};

// One dispatcher at a time in a process.
class DispatcherClaim {
 public:
  DispatcherClaim() {
    const std::lock_guard lock(g_instanceMutex);
    claimed_ = !std::exchange(g_dispatching, true);
  }
  ~DispatcherClaim() {
    if (!claimed_) return;
    const std::lock_guard lock(g_instanceMutex);
    g_dispatching = false;
  }
  DispatcherClaim(const DispatcherClaim&) = delete;
  DispatcherClaim& operator=(const DispatcherClaim&) = delete;
  bool claimed() const { return claimed_; }

 private:
  bool claimed_;
};

json StatusMessage(const SERVICE_STATUS& status) {
  return json{{"op", "service.status"},
              {"state", status.dwCurrentState},
              {"controlsAccepted", status.dwControlsAccepted},
              {"win32ExitCode", status.dwWin32ExitCode},
              {"serviceSpecificExitCode", status.dwServiceSpecificExitCode},
              {"checkPoint", status.dwCheckPoint},
              {"waitHint", status.dwWaitHint}};
}

}  // namespace

bool ServiceInstance::Serve(LPSERVICE_MAIN_FUNCTIONW routine) {
  // The thread keeps the instance: it may be left behind.
  std::thread thread([self = CurrentInstance(), routine] { self->RunRoutine(routine); });
  ReceivedControl control;
  while (NextControl(&control)) Handle(control);
  if (AwaitRoutine()) {
    thread.join();
  } else {
    thread.detach();
  }
  const std::lock_guard lock(mutex_);
  return stopped_;
}

void ServiceInstance::RunRoutine(LPSERVICE_MAIN_FUNCTIONW routine) {
  std::vector<std::u16string> texts = {ToUtf16(service_)};
  for (const std::string& argument : arguments_) texts.push_back(ToUtf16(argument));
  std::vector<LPWSTR> pointers;
  for (std::u16string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  routine(static_cast<DWORD>(texts.size()), pointers.data());
  const std::lock_guard lock(mutex_);
  routineReturned_ = true;
  changed_.notify_all();
}

void ServiceInstance::SetHandler(LPHANDLER_FUNCTION_EX handler, LPVOID context) {
  const std::lock_guard lock(mutex_);
  handler_ = handler;
  context_ = context;
}

DWORD ServiceInstance::Report(const SERVICE_STATUS& status) {
  json message = StatusMessage(status);
  message["service"] = service_;
  message["instance"] = number_;
  const DWORD error = MachineLink::Instance().Call(std::move(message), nullptr);
  if (error == ERROR_SUCCESS && status.dwCurrentState == SERVICE_STOPPED) {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
  }
  return error == ERROR_ACCESS_DENIED || error == ERROR_SERVICE_NOT_ACTIVE ? ERROR_INVALID_HANDLE : error;
}

void ServiceInstance::Receive(const ReceivedControl& control) {
  const std::lock_guard lock(mutex_);
  controls_.push_back(control);
  changed_.notify_all();
}

void ServiceInstance::LoseConnection() {
  const std::lock_guard lock(mutex_);
  lost_ = true;
  changed_.notify_all();
}

bool ServiceInstance::NextControl(ReceivedControl* control) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return stopped_ || lost_ || !controls_.empty(); });
  if (stopped_ || lost_) return false;
  *control = controls_.front();
  controls_.pop_front();
  return true;
}

void ServiceInstance::Handle(const ReceivedControl& control) {
  LPHANDLER_FUNCTION_EX handler = nullptr;
  LPVOID context = nullptr;
  {
    const std::lock_guard lock(mutex_);
    handler = handler_;
    context = context_;
  }
  WTSSESSION_NOTIFICATION session = {sizeof(WTSSESSION_NOTIFICATION), control.session};
  const bool sessionChange = control.control == SERVICE_CONTROL_SESSIONCHANGE;
  const DWORD result = handler != nullptr
                           ? handler(control.control, control.eventType, sessionChange ? &session : nullptr, context)
                           : ERROR_CALL_NOT_IMPLEMENTED;
  MachineLink::Instance().Call(
      json{{"op", "service.answer"}, {"service", service_}, {"number", control.number}, {"result", result}}, nullptr);
}

// True when the routine has returned. One that has neither stopped nor returned when the connection ends gets no wait.
bool ServiceInstance::AwaitRoutine() {
  std::unique_lock lock(mutex_);
  if (stopped_) changed_.wait_for(lock, kRoutineLimit, [&] { return routineReturned_; });
  return routineReturned_;
}

std::shared_ptr<ServiceInstance> CurrentInstance() {
  const std::lock_guard lock(g_instanceMutex);
  return g_instance;
}

DWORD RunDispatcher(LPSERVICE_MAIN_FUNCTIONW routine) {
  const DispatcherClaim claim;
  if (!claim.claimed()) return ERROR_SERVICE_ALREADY_RUNNING;
  json reply;
  const DWORD error = MachineLink::Instance().Call(json{{"op", "service.dispatch"}}, &reply);
  if (error != ERROR_SUCCESS) return ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
  const auto service = reply.at("service").get<std::string>();
  const auto number = reply.at("instance").get<std::uint64_t>();
  const auto instance =
      std::make_shared<ServiceInstance>(service, number, reply.at("arguments").get<std::vector<std::string>>());
  {
    const std::lock_guard lock(g_instanceMutex);
    g_instance = instance;
  }
  const ManagerMessages messages(*instance);
  const bool stopped = instance->Serve(routine);
  MachineLink::Instance().Call(json{{"op", "service.leave"}, {"service", service}, {"instance", number}}, nullptr);
  return stopped ? ERROR_SUCCESS : ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
}

}  // namespace host
