// The control manager's requests: answered at once, turned into packets for the worker.
#pragma once

#include "platform/services.h"
#include "service/service_host.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Makes a host reachable for controls for as long as it lives. Its end waits for a control that is being handled, so
// that the host belongs to ServiceMain alone; a control that arrives afterwards finds no host. ServiceMain's thread
// only.
class ControlledHost {
 public:
  explicit ControlledHost(CServiceHost& host);
  ~ControlledHost();
  ControlledHost(const ControlledHost&) = delete;
  ControlledHost& operator=(const ControlledHost&) = delete;
};

// The extended control handler; runs on the dispatcher's thread and never waits for the worker. Returns 0, or 120
// (ERROR_CALL_NOT_IMPLEMENTED) for a control it does not know or when the service has ended.
DWORD WINAPI ServiceCtrlHandler(DWORD control, DWORD eventType, LPVOID eventData, LPVOID context);

}  // namespace Quorvex::PC::Hkd04a7::Service
