#include "machine/service_manager.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/service_controls.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kShutdownInProgress = 1115;
// What a shutdown gives a service before its process is ended.
constexpr std::chrono::seconds kShutdownLimit{5};
constexpr std::chrono::milliseconds kShutdownLook{20};

std::string RefusalText(DWORD code) {
  switch (code) {
    case ERROR_SERVICE_NOT_ACTIVE:
      return "the service is not running";
    case ERROR_SERVICE_CANNOT_ACCEPT_CTRL:
      return "the service takes no such control in its present state";
    case ERROR_INVALID_SERVICE_CONTROL:
      return "the service does not accept this control";
    case ERROR_SERVICE_REQUEST_TIMEOUT:
      return "the control handler did not answer in time";
    case ERROR_PROCESS_ABORTED:
      return "the service's process ended";
    default:
      return "the control handler answered " + std::to_string(code);
  }
}

}  // namespace

ServiceManager::ServiceManager(Loop& loop, ProcessTable& processes, const std::string& storePath,
                               ServiceRunner::Launcher launcher)
    : loop_(loop),
      store_(storePath),
      configurator_(loop, store_, services_),
      waits_(loop),
      runner_(loop, processes, services_, waits_, std::move(launcher)),
      notices_(loop, services_) {}

bool ServiceManager::Load(std::string* error) {
  if (!store_.Load(error)) return false;
  for (const auto& [name, configuration] : store_.all()) services_[name] = std::make_shared<Service>(loop_, name);
  return true;
}

void ServiceManager::AddOperations(OpRegistry& operations) {
  configurator_.AddOperations(operations);
  operations.Add("service.list", [this](const Request& request) { List(request); });
  operations.Add("service.start", [this](const Request& request) { Start(request); });
  operations.Add("service.stop", [this](const Request& request) { Stop(request); });
  operations.Add("service.control", [this](const Request& request) { Control(request); });
  operations.Add("service.query", [this](const Request& request) {
    if (const auto service = NamedService(services_, request)) request.responder.Reply(Describe(*service));
  });
  operations.Add("service.history", [this](const Request& request) {
    if (const auto service = NamedService(services_, request))
      request.responder.Reply(json{{"history", service->history.entries()}});
  });
  runner_.AddOperations(operations);
}

void ServiceManager::List(const Request& request) const {
  json list = json::array();
  for (const auto& [name, service] : services_) list.push_back(Describe(*service));
  request.responder.Reply(json{{"services", list}});
}

void ServiceManager::Start(const Request& request) {
  const auto service = NamedService(services_, request);
  if (service == nullptr) return;
  const auto arguments = request.body.value("arguments", std::vector<std::string>{});
  const bool wait = request.body.value("wait", true);
  const std::chrono::milliseconds limit{request.body.value("timeoutMs", 0)};
  if (shuttingDown_) return request.responder.Fail(kShutdownInProgress, "the machine goes down");
  if (service->markedForDelete)
    return request.responder.Fail(ERROR_SERVICE_MARKED_FOR_DELETE, "the service is being deleted");
  if (service->status.state != kStopped)
    return request.responder.Fail(ERROR_SERVICE_ALREADY_RUNNING, "the service runs already");
  const ServiceConfiguration& configuration = *store_.Find(service->name);
  if (configuration.startType == kDisabled)
    return request.responder.Fail(ERROR_SERVICE_DISABLED, "the service is disabled");
  runner_.Start(service, configuration, arguments);
  if (!wait) return request.responder.Done();
  waits_.Add(*service, ServiceWaits::Goal::kStarted, limit, request.responder);
}

void ServiceManager::Stop(const Request& request) {
  const auto service = NamedService(services_, request);
  if (service == nullptr) return;
  const bool wait = request.body.value("wait", true);
  const std::chrono::milliseconds limit{request.body.value("timeoutMs", 0)};
  ServiceControl control{kControlStop, 0, 0, {}};
  control.done = [this, service, wait, limit, responder = request.responder](DWORD result, bool) {
    if (result != ERROR_SUCCESS) return responder.Fail(result, RefusalText(result));
    if (!wait) return responder.Done();
    service->lastReport = Clock::now();
    waits_.Add(*service, ServiceWaits::Goal::kStopped, limit, responder);
  };
  service->QueueControl(std::move(control));
}

void ServiceManager::Control(const Request& request) {
  const auto service = NamedService(services_, request);
  if (service == nullptr) return;
  ServiceControl control{request.body.at("control").get<DWORD>(),
                         request.body.value("eventType", DWORD{0}),
                         request.body.value("session", DWORD{0}),
                         {}};
  control.done = [responder = request.responder](DWORD result, bool delivered) {
    if (!delivered) return responder.Fail(result, RefusalText(result));
    responder.Reply(json{{"result", result}});
  };
  service->QueueControl(std::move(control));
}

void ServiceManager::StartAutomatic() {
  for (const auto& [name, configuration] : store_.all()) {
    const std::shared_ptr<Service>& service = services_.at(name);
    if (configuration.startType == kAutomaticStart && service->status.state == kStopped)
      runner_.Start(service, configuration, {});
  }
}

void ServiceManager::ShutDown(std::function<void()> done) {
  shuttingDown_ = true;
  runner_.SetShuttingDown(true);
  std::vector<std::shared_ptr<Service>> told;
  for (const auto& [name, service] : services_) {
    const DWORD control = service->insideMachine ? kControlStop : kControlShutdown;
    // One inside that has stopped may still be on its way out of its dispatcher.
    const bool leaving = service->insideMachine && service->status.state == kStopped;
    if (!leaving && Refusal(service->status, control) != ERROR_SUCCESS) continue;
    told.push_back(service);
    service->QueueControl(ServiceControl{control, 0, 0, {}});
  }
  AwaitShutdown(std::move(told), Clock::now() + kShutdownLimit, std::move(done));
}

void ServiceManager::AwaitShutdown(std::vector<std::shared_ptr<Service>> told, Clock::time_point limit,
                                   std::function<void()> done) {
  const bool over = std::all_of(told.begin(), told.end(), [](const std::shared_ptr<Service>& service) {
    return service->status.state == kStopped && (service->pid == 0 || !service->insideMachine);
  });
  if (over || Clock::now() >= limit) return done();
  loop_.After(kShutdownLook, [this, told = std::move(told), limit, done = std::move(done)]() mutable {
    AwaitShutdown(std::move(told), limit, std::move(done));
  });
}

void ServiceManager::EndShutdown() {
  shuttingDown_ = false;
  runner_.SetShuttingDown(false);
}

bool ServiceManager::Settled() const {
  return std::all_of(services_.begin(), services_.end(), [](const auto& entry) {
    const Service& service = *entry.second;
    const bool gone = service.status.state == kStopped && service.pid == 0;
    return service.idle() && (gone || service.status.state == kRunning);
  });
}

json ServiceManager::Report() const {
  json report = json::array();
  for (const auto& [name, service] : services_) {
    json entry = Describe(*service);
    entry["history"] = service->history.entries();
    report.push_back(std::move(entry));
  }
  return report;
}

json ServiceManager::Describe(const Service& service) const {
  json description = ToJson(service.status);
  description["name"] = service.name;
  description["pid"] = service.pid;
  description["instance"] = service.instance;
  description["endedUnexpectedly"] = service.endedUnexpectedly;
  description["lastError"] = service.lastError;
  description["control"] = service.CurrentControl();
  if (const ServiceConfiguration* configuration = store_.Find(service.name)) description.update(ToJson(*configuration));
  return description;
}

}  // namespace machine
