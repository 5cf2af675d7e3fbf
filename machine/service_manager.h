// The service control manager: configured services, their starts and stops, controls and notices. Loop thread only.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/op_registry.h"
#include "machine/service_runner.h"
#include "machine/service_store.h"
#include "machine/service_waits.h"

namespace machine {

// A notice to every service that accepts it: a power event or a session change.
struct ServiceNotice {
  DWORD control = 0;
  DWORD eventType = 0;
  DWORD session = 0;
};

class ServiceManager {
 public:
  ServiceManager(Loop& loop, ProcessTable& processes, const std::string& storePath, ServiceRunner::Launcher launcher);

  // False with a sentence in `error` when the configuration is damaged.
  bool Load(std::string* error);

  // Operations "service.create", "config", "delete", "query", "list", "history", "start", "stop", "control".
  void AddOperations(OpRegistry& operations);

  void StartAutomatic();

  // Sends each notice to every service that accepts it, the next one when all have answered. `done` gets
  // [{"service","eventType","result"}] in the end.
  void NotifyInOrder(std::vector<ServiceNotice> notices, std::function<void(nlohmann::json results)> done);

  // As a shutdown does: no start any more; services that accept it are told, services inside the machine's own process
  // are stopped; `done` is called when they have stopped, or after a limit.
  void ShutDown(std::function<void()> done);
  // The machine boots again: services can start.
  void EndShutdown();

  // No control on its way, nothing starting or stopping.
  bool Settled() const;

  // Every service as "service.query" shows it, with its history.
  nlohmann::json Report() const;

 private:
  void Create(const Request& request);
  void Configure(const Request& request);
  void Delete(const Request& request);
  void List(const Request& request) const;
  void Start(const Request& request);
  void Stop(const Request& request);
  void Control(const Request& request);
  void AwaitShutdown(std::vector<std::shared_ptr<Service>> told, Clock::time_point limit, std::function<void()> done);
  struct NoticeRound;
  void SendNextNotice(const std::shared_ptr<NoticeRound>& round);
  void CountAnswer(const std::shared_ptr<NoticeRound>& round);
  void RemoveMarked();
  nlohmann::json Describe(const Service& service) const;
  std::shared_ptr<Service> Named(const Request& request) const;

  Loop& loop_;
  ServiceStore store_;
  Services services_;
  ServiceWaits waits_;
  ServiceRunner runner_;
  bool shuttingDown_ = false;
};

}  // namespace machine
