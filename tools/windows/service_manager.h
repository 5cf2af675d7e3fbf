// The service as the local service control manager has it. Every operation answers a Win32 code, 0 for success.
#pragma once

#include <cstdint>
#include <string>

#include "common/handles.h"
#include "platform/types.h"
#include "tools/service_registration.h"

namespace tool {

struct ServiceState {
  std::uint32_t state = 0;  // SERVICE_STOPPED, ...
  std::uint32_t pid = 0;
  std::uint32_t exitCode = 0;
  std::uint32_t specificExitCode = 0;
};

struct ServiceConfiguration {
  std::uint32_t startType = 0;  // SERVICE_AUTO_START, ...
  WideString commandLine;
};

class ServiceManager {
 public:
  // With these rights, as the other operations need them. A service that is not registered is no failure.
  DWORD Open(DWORD managerRights, DWORD serviceRights);
  bool IsRegistered() const { return static_cast<bool>(service_); }

  // From here on with the service's every right.
  DWORD Create(const ServiceRegistration& registration);
  // SERVICE_CHANGE_CONFIG; the last one SERVICE_START too.
  DWORD Change(const ServiceRegistration& registration);
  DWORD Describe();
  DWORD SetFailureActions();
  // DELETE. The service is gone once every program that has it open has closed it.
  DWORD Delete();

  // SERVICE_QUERY_STATUS.
  DWORD Query(ServiceState* state) const;
  // SERVICE_QUERY_CONFIG.
  DWORD Query(ServiceConfiguration* configuration) const;

  // SERVICE_START and SERVICE_QUERY_STATUS. Returns when the service is at rest: its start's wake check is done, or it
  // has stopped again; some seconds after it runs at the latest. 1056 when it runs, 1460 when it takes a minute.
  DWORD Start();
  // SERVICE_STOP and SERVICE_QUERY_STATUS. Returns when the service has stopped and its process is gone. 1062 when it
  // does not run, 1460 when it takes a minute.
  DWORD Stop();

 private:
  DWORD AwaitStateOtherThan(DWORD pending, ServiceState* state) const;

  Quorvex::PC::Common::UniqueServiceHandle manager_;
  Quorvex::PC::Common::UniqueServiceHandle service_;
};

}  // namespace tool
