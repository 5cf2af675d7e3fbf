// The service control manager: configured services, their starts and stops, controls and notices. Loop thread only.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/op_registry.h"
#include "machine/service_configurator.h"
#include "machine/service_notices.h"
#include "machine/service_runner.h"
#include "machine/service_store.h"
#include "machine/service_waits.h"

namespace machine {

class ServiceManager {
 public:
  ServiceManager(Loop& loop, ProcessTable& processes, const std::string& storePath, ServiceRunner::Launcher launcher);

  // False with a sentence in `error` when the configuration is damaged.
  bool Load(std::string* error);

  // Operations "service.create", "config", "delete", "query", "list", "history", "start", "stop", "control".
  void AddOperations(OpRegistry& operations);

  void StartAutomatic();

  // Notices to the services.
  ServiceNotices& notices() { return notices_; }

  // As a shutdown does: no start any more; services that accept it are told, services inside the machine's own process
  // are stopped; `done` is called when they have stopped, or after a limit.
  void ShutDown(std::function<void()> done);
  // The machine boots again: services can start.
  void EndShutdown();

  // No control on its way, nothing starting or stopping, no process on its way out.
  bool Settled() const;

  // Every service as "service.query" shows it, with its history.
  nlohmann::json Report() const;

 private:
  void List(const Request& request) const;
  void Start(const Request& request);
  void Stop(const Request& request);
  void Control(const Request& request);
  void AwaitShutdown(std::vector<std::shared_ptr<Service>> told, Clock::time_point limit, std::function<void()> done);
  nlohmann::json Describe(const Service& service) const;

  Loop& loop_;
  ServiceStore store_;
  Services services_;
  ServiceConfigurator configurator_;
  ServiceWaits waits_;
  ServiceRunner runner_;
  ServiceNotices notices_;
  bool shuttingDown_ = false;
};

}  // namespace machine
