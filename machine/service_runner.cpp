#include "machine/service_runner.h"

#include <unistd.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::chrono::seconds kDispatcherLimit{30};
constexpr std::chrono::seconds kLeavingLimit{10};
constexpr DWORD kWaitHintBeforeFirstReport = 2000;

}  // namespace

void ServiceRunner::AddOperations(OpRegistry& operations) {
  operations.Add("service.dispatch", [this](const Request& request) { Dispatch(request); });
  operations.Add("service.status", [this](const Request& request) { TakeReport(request); });
  operations.Add("service.answer", [this](const Request& request) { TakeAnswer(request); });
  operations.Add("service.leave", [this](const Request& request) { TakeLeave(request); });
}

void ServiceRunner::Start(const std::shared_ptr<Service>& service, const ServiceConfiguration& configuration,
                          std::vector<std::string> arguments) {
  service->instance = nextInstance_++;
  service->status = ServiceStatus{kStartPending, 0, 0, 0, 0, kWaitHintBeforeFirstReport};
  service->lastReport = Clock::now();
  service->endedUnexpectedly = false;
  service->lastError.clear();
  service->startArguments = std::move(arguments);
  service->history.Add("start", json{{"instance", service->instance}, {"state", kStartPending}});
  launches_[service->instance] = ServiceLaunch{configuration.name, configuration.program, configuration.arguments};
  if (service->pid == 0) return Launch(service);
  service->startTimer = loop_.After(kLeavingLimit, [this, weak = std::weak_ptr(service)] {
    const auto leaving = weak.lock();
    if (leaving != nullptr && !leaving->insideMachine) processes_.Terminate(leaving->pid);
  });
}

void ServiceRunner::Launch(const std::shared_ptr<Service>& service) {
  loop_.Cancel(service->startTimer);
  const ServiceLaunch launch = launches_.extract(service->instance).mapped();
  service->processInstance = service->instance;
  service->insideMachine = launcher_ != nullptr;
  AwaitDispatcher(service);
  if (service->insideMachine) {
    LaunchInside(service, launch);
  } else {
    LaunchProcess(service, launch);
  }
}

void ServiceRunner::LaunchInside(const std::shared_ptr<Service>& service, const ServiceLaunch& launch) {
  service->pid = getpid();
  const DWORD error = launcher_(launch);
  if (error != ERROR_SUCCESS) {
    service->pid = 0;
    FailStart(*service, error, "the launcher refused");
  }
}

void ServiceRunner::LaunchProcess(const std::shared_ptr<Service>& service, const ServiceLaunch& launch) {
  const std::uint64_t instance = service->instance;
  ProcessTable::Observer observer;
  observer.entered = [service](pid_t pid) { service->pid = pid; };
  observer.started = [this, service, instance](DWORD error, const std::string& message) {
    if (error == ERROR_SUCCESS) {
      service->history.Add("process-started", json{{"pid", service->pid}, {"instance", instance}});
      return;
    }
    service->pid = 0;
    if (service->instance == instance) FailStart(*service, error, message);
  };
  observer.ended = [this, service, instance](const ProcessEnd& end) { HandleEnd(*service, instance, Describe(end)); };
  ProcessRequest request;
  request.program = launch.program;
  request.arguments = launch.arguments;
  request.token = SystemToken();
  processes_.Launch(request, std::move(observer));
}

void ServiceRunner::AwaitDispatcher(const std::shared_ptr<Service>& service) {
  service->dispatcher.reset();
  service->startTimer = loop_.After(kDispatcherLimit, [this, weak = std::weak_ptr(service)] {
    const auto late = weak.lock();
    if (late == nullptr) return;
    FailStart(*late, ERROR_SERVICE_REQUEST_TIMEOUT, "the process did not reach its dispatcher within 30 seconds");
    if (!late->insideMachine) processes_.Terminate(late->pid);
    if (late->insideMachine) late->pid = 0;
  });
}

void ServiceRunner::FailStart(Service& service, DWORD error, const std::string& text) {
  loop_.Cancel(service.startTimer);
  service.status = ServiceStatus{kStopped, 0, error, 0, 0, 0};
  service.lastError = text;
  service.history.Add("start-failed", json{{"error", error}, {"text", text}, {"state", kStopped}});
  waits_.Look(service);
}

void ServiceRunner::HandleEnd(Service& service, std::uint64_t instance, const std::string& how) {
  if (service.processInstance != instance) return;
  loop_.Cancel(service.startTimer);
  service.history.Add("process-ended", json{{"pid", service.pid}, {"instance", instance}, {"text", how}});
  service.pid = 0;
  service.dispatcher.reset();
  if (service.instance == instance && service.status.state != kStopped) EndUnexpectedly(service, how);
  service.FailControls(ERROR_PROCESS_ABORTED);
  waits_.Look(service);
  if (launches_.contains(service.instance)) Launch(services_.find(service.name)->second);
}

void ServiceRunner::EndUnexpectedly(Service& service, const std::string& how) {
  service.status = ServiceStatus{kStopped, 0, ERROR_PROCESS_ABORTED, 0, 0, 0};
  service.endedUnexpectedly = !shuttingDown_;
  service.lastError = (shuttingDown_ ? "ended by the machine's shutdown: " : "ended unexpectedly: ") + how;
  service.history.Add(shuttingDown_ ? "ended-by-shutdown" : "ended-unexpectedly",
                      json{{"text", service.lastError}, {"state", kStopped}});
}

std::shared_ptr<Service> ServiceRunner::Starting(pid_t pid) const {
  for (const auto& [name, service] : services_) {
    const bool waits = service->status.state == kStartPending && service->dispatcher.expired();
    if (waits && service->pid == pid && service->processInstance == service->instance) return service;
  }
  return nullptr;
}

void ServiceRunner::Dispatch(const Request& request) {
  const std::shared_ptr<Service> service = Starting(request.connection->peer().pid);
  if (service == nullptr) {
    return request.responder.Fail(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT,
                                  "the service control manager did not start this process");
  }
  loop_.Cancel(service->startTimer);
  service->dispatcher = request.connection;
  service->lastReport = Clock::now();
  request.connection->OnClose([this, service, instance = service->instance] {
    if (service->insideMachine) HandleEnd(*service, instance, "its connection ended");
  });
  service->history.Add("dispatched", json{{"instance", service->instance}});
  request.responder.Reply(
      json{{"service", service->name}, {"instance", service->instance}, {"arguments", service->startArguments}});
  waits_.Look(*service);
}

// The service that a process speaks of, when it is that process's; answers 5 or 1060 otherwise.
std::shared_ptr<Service> ServiceRunner::Addressed(const Request& request) const {
  const auto found = services_.find(request.body.at("service").get<std::string>());
  if (found == services_.end()) {
    request.responder.Fail(ERROR_SERVICE_DOES_NOT_EXIST, "no such service");
    return nullptr;
  }
  if (found->second->dispatcher.lock() != request.connection) {
    request.responder.Fail(ERROR_ACCESS_DENIED, "this process does not run the service");
    return nullptr;
  }
  return found->second;
}

void ServiceRunner::TakeReport(const Request& request) {
  const std::shared_ptr<Service> service = Addressed(request);
  if (service == nullptr) return;
  const ServiceStatus status = ReadStatus(request.body);
  json entry = ToJson(status);
  if (service->status.state == kStopped || request.body.at("instance").get<std::uint64_t>() != service->instance) {
    entry["text"] = "a status was reported after STOPPED";
    service->lastError = entry["text"];
    service->history.Add("error", entry);
    return request.responder.Fail(ERROR_INVALID_HANDLE, service->lastError);
  }
  if (status.state < kStopped || status.state > 7) {
    return request.responder.Fail(ERROR_INVALID_DATA, "no state has this number");
  }
  service->status = status;
  service->lastReport = Clock::now();
  service->history.Add("state", entry);
  request.responder.Done();
  waits_.Look(*service);
}

void ServiceRunner::TakeAnswer(const Request& request) {
  const std::shared_ptr<Service> service = Addressed(request);
  if (service == nullptr) return;
  service->AnswerControl(request.body.at("number").get<std::uint64_t>(), request.body.at("result").get<DWORD>());
  waits_.Look(*service);
  request.responder.Done();
}

void ServiceRunner::TakeLeave(const Request& request) {
  const std::shared_ptr<Service> service = Addressed(request);
  if (service == nullptr) return;
  const std::uint64_t instance = request.body.at("instance").get<std::uint64_t>();
  request.responder.Done();
  if (service->insideMachine) HandleEnd(*service, instance, "its dispatcher returned");
}

}  // namespace machine
