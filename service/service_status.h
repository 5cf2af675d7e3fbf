// The status record that the service reports to the control manager.
//
// The control handler and the worker share it without a lock: each field is written whole, and every report sends a
// copy of the fields as they stand.
#pragma once

#include <atomic>

#include "platform/services.h"

namespace Quorvex::PC::Hkd04a7::Service {

class ServiceStatus {
 public:
  // Null until the control manager has answered the registration.
  void SetStatusHandle(SERVICE_STATUS_HANDLE handle) { statusHandle_ = handle; }

  void SetState(DWORD state) { currentState_ = state; }
  void SetWin32ExitCode(DWORD code) { win32ExitCode_ = code; }
  // The service's own code; the Win32 exit code becomes 1066 (ERROR_SERVICE_SPECIFIC_ERROR) with it.
  void SetServiceSpecificExitCode(DWORD code);
  void AdvanceCheckPoint() { ++checkPoint_; }

  // Sends the record; a failure is ignored.
  void Report() const;

 private:
  std::atomic<SERVICE_STATUS_HANDLE> statusHandle_ = nullptr;
  std::atomic<DWORD> currentState_ = SERVICE_STOPPED;
  std::atomic<DWORD> win32ExitCode_ = 0;
  std::atomic<DWORD> serviceSpecificExitCode_ = 0;
  std::atomic<DWORD> checkPoint_ = 0;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
