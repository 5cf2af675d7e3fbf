// What the control handler and the worker share: one per process, made by ServiceMain.
#pragma once

#include <atomic>

#include "platform/types.h"
#include "service/service_status.h"

namespace Quorvex::PC::Hkd04a7::Service {

class CServiceHost {
 public:
  CServiceHost() = default;
  CServiceHost(const CServiceHost&) = delete;
  CServiceHost& operator=(const CServiceHost&) = delete;
  // Closes the wake-check event and the completion port, where there are any.
  ~CServiceHost();

  ServiceStatus status;
  // Made by ServiceMain before the worker runs.
  std::atomic<HANDLE> completionPort = nullptr;
  // True while a wake check has been requested since the last suspend. Used by the control handler only.
  bool resumePosted = true;
  // Made by the worker: signalled while the wake-up record is current.
  std::atomic<HANDLE> wakeCheckEvent = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
