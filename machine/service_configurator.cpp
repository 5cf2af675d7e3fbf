#include "machine/service_configurator.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

// Between two looks whether a deleted service has stopped.
constexpr std::chrono::milliseconds kRemovalLook{20};

}  // namespace

std::shared_ptr<Service> NamedService(const Services& services, const Request& request) {
  const std::string name = request.body.at("name").get<std::string>();
  const auto found = services.find(name);
  if (found != services.end()) return found->second;
  request.responder.Fail(ERROR_SERVICE_DOES_NOT_EXIST, "there is no service '" + name + "'");
  return nullptr;
}

void ServiceConfigurator::AddOperations(OpRegistry& operations) {
  operations.Add("service.create", [this](const Request& request) { Create(request); });
  operations.Add("service.config", [this](const Request& request) { Configure(request); });
  operations.Add("service.delete", [this](const Request& request) { Delete(request); });
}

void ServiceConfigurator::Create(const Request& request) {
  ServiceConfiguration configuration;
  ReadConfiguration(request.body, &configuration);
  std::string error = FaultOf(configuration);
  if (!error.empty()) return request.responder.Fail(ERROR_INVALID_PARAMETER, error);
  if (const auto found = services_.find(configuration.name); found != services_.end() && found->second->markedForDelete)
    return request.responder.Fail(ERROR_SERVICE_MARKED_FOR_DELETE, "the service of that name is being deleted");
  if (store_.Find(configuration.name) != nullptr)
    return request.responder.Fail(ERROR_SERVICE_EXISTS, "there is a service '" + configuration.name + "' already");
  if (!store_.Put(configuration, &error)) return request.responder.Fail(ERROR_WRITE_FAULT, error);
  services_[configuration.name] = std::make_shared<Service>(loop_, configuration.name);
  request.responder.Done();
}

void ServiceConfigurator::Configure(const Request& request) {
  const auto service = NamedService(services_, request);
  if (service == nullptr) return;
  if (service->markedForDelete)
    return request.responder.Fail(ERROR_SERVICE_MARKED_FOR_DELETE, "the service goes when it has stopped");
  ServiceConfiguration configuration = *store_.Find(service->name);
  ReadConfiguration(request.body, &configuration);
  configuration.name = service->name;
  std::string error = FaultOf(configuration);
  if (!error.empty()) return request.responder.Fail(ERROR_INVALID_PARAMETER, error);
  if (!store_.Put(configuration, &error)) return request.responder.Fail(ERROR_WRITE_FAULT, error);
  service->history.Add("configured", json{{"startType", configuration.startType}});
  request.responder.Done();
}

void ServiceConfigurator::Delete(const Request& request) {
  const auto service = NamedService(services_, request);
  if (service == nullptr) return;
  if (service->markedForDelete)
    return request.responder.Fail(ERROR_SERVICE_MARKED_FOR_DELETE, "the service goes when it has stopped");
  std::string error;
  if (!store_.Remove(service->name, &error)) return request.responder.Fail(ERROR_WRITE_FAULT, error);
  service->markedForDelete = true;
  request.responder.Done();
  RemoveMarked();
}

// A service deleted while it ran stays until it has stopped.
void ServiceConfigurator::RemoveMarked() {
  bool waiting = false;
  std::erase_if(services_, [&](const auto& entry) {
    const Service& service = *entry.second;
    if (!service.markedForDelete) return false;
    const bool gone = service.status.state == kStopped && service.pid == 0;
    waiting = waiting || !gone;
    return gone;
  });
  if (waiting) loop_.After(kRemovalLook, [this] { RemoveMarked(); });
}

}  // namespace machine
