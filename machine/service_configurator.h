// Making, changing and deleting services. Loop thread only.
#pragma once

#include <memory>

#include "machine/op_registry.h"
#include "machine/service_runner.h"
#include "machine/service_store.h"

namespace machine {

// The service that a request names; null, with a refusal, when there is none.
std::shared_ptr<Service> NamedService(const Services& services, const Request& request);

class ServiceConfigurator {
 public:
  // All of them live as long.
  ServiceConfigurator(Loop& loop, ServiceStore& store, Services& services)
      : loop_(loop), store_(store), services_(services) {}

  // Operations "service.create", "config", "delete".
  void AddOperations(OpRegistry& operations);

 private:
  void Create(const Request& request);
  void Configure(const Request& request);
  void Delete(const Request& request);
  void RemoveMarked();

  Loop& loop_;
  ServiceStore& store_;
  Services& services_;
};

}  // namespace machine
