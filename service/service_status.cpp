#include "service/service_status.h"

#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_POWEREVENT | SERVICE_ACCEPT_SESSIONCHANGE;
constexpr DWORD kWaitHintMilliseconds = 5000;

}  // namespace

void ServiceStatus::SetServiceSpecificExitCode(DWORD code) {
  serviceSpecificExitCode_ = code;
  win32ExitCode_ = ERROR_SERVICE_SPECIFIC_ERROR;
}

void ServiceStatus::Report() const {
  SERVICE_STATUS record{};
  record.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  record.dwCurrentState = currentState_;
  record.dwControlsAccepted = kControlsAccepted;
  record.dwWin32ExitCode = win32ExitCode_;
  record.dwServiceSpecificExitCode = serviceSpecificExitCode_;
  record.dwCheckPoint = checkPoint_;
  record.dwWaitHint = kWaitHintMilliseconds;
  SetServiceStatus(statusHandle_, &record);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
