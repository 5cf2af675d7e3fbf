// The life of a service's instances: starts their processes, meets their dispatchers, takes their reports, notices
// their ends. Loop thread only.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "machine/machine.h"
#include "machine/op_registry.h"
#include "machine/process_table.h"
#include "machine/service.h"
#include "machine/service_store.h"
#include "machine/service_waits.h"

namespace machine {

using Services = std::map<std::string, std::shared_ptr<Service>, NameLess>;

class ServiceRunner {
 public:
  using Launcher = std::function<unsigned(const ServiceLaunch&)>;

  ServiceRunner(Loop& loop, ProcessTable& processes, const Services& services, ServiceWaits& waits, Launcher launcher)
      : loop_(loop), processes_(processes), services_(services), waits_(waits), launcher_(std::move(launcher)) {}

  // Operations of service processes: "service.dispatch", "service.status", "service.answer", "service.leave".
  void AddOperations(OpRegistry& operations);

  // A new instance of a stopped service. A process of the instance before that has not ended yet is waited for, and
  // ended when it takes too long.
  void Start(const std::shared_ptr<Service>& service, const ServiceConfiguration& configuration,
             std::vector<std::string> arguments);

  // From now on a process that ends without STOPPED was ended by the machine.
  void SetShuttingDown(bool shuttingDown) { shuttingDown_ = shuttingDown; }

 private:
  void Launch(const std::shared_ptr<Service>& service);
  void LaunchInside(const std::shared_ptr<Service>& service, const ServiceLaunch& launch);
  void LaunchProcess(const std::shared_ptr<Service>& service, const ServiceLaunch& launch);
  void AwaitDispatcher(const std::shared_ptr<Service>& service);
  void FailStart(Service& service, DWORD error, const std::string& text);
  void HandleEnd(Service& service, std::uint64_t instance, const std::string& how);
  void EndUnexpectedly(Service& service, const std::string& how);

  void Dispatch(const Request& request);
  void TakeReport(const Request& request);
  void TakeAnswer(const Request& request);
  void TakeLeave(const Request& request);
  std::shared_ptr<Service> Starting(pid_t pid) const;
  std::shared_ptr<Service> Addressed(const Request& request) const;

  Loop& loop_;
  ProcessTable& processes_;
  const Services& services_;
  ServiceWaits& waits_;
  const Launcher launcher_;
  std::uint64_t nextInstance_ = 1;
  std::map<std::uint64_t, ServiceLaunch> launches_;  // by instance, until its process is started
  bool shuttingDown_ = false;
};

}  // namespace machine
