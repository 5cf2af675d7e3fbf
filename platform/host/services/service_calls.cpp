// Dispatcher, handler registration and status: the calls that a service's own process makes.
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/services/service_process.h"

namespace {

// The one handle of a process's own service: it stands for the running instance.
SERVICE_STATUS_HANDLE StatusHandle() {
  static char anchor;
  return reinterpret_cast<SERVICE_STATUS_HANDLE>(&anchor);
}

bool IsOneService(const SERVICE_TABLE_ENTRYW* table) {
  if (table == nullptr || table[0].lpServiceName == nullptr || table[0].lpServiceProc == nullptr) return false;
  return table[1].lpServiceName == nullptr && table[1].lpServiceProc == nullptr;
}

}  // namespace

BOOL WINAPI StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table) {
  if (const auto code = host::InjectedFailure("StartServiceCtrlDispatcherW")) return host::FailWith(*code);
  if (!IsOneService(table)) return host::FailWith(ERROR_INVALID_PARAMETER);
  const DWORD error = host::RunDispatcher(table[0].lpServiceProc);
  return error == ERROR_SUCCESS ? TRUE : host::FailWith(error);
}

SERVICE_STATUS_HANDLE WINAPI RegisterServiceCtrlHandlerExW(LPCWSTR name, LPHANDLER_FUNCTION_EX handler,
                                                           LPVOID context) {
  const auto injected = host::InjectedFailure("RegisterServiceCtrlHandlerExW");
  const auto instance = host::CurrentInstance();
  DWORD error = ERROR_SUCCESS;
  if (instance == nullptr) error = ERROR_SERVICE_NOT_IN_EXE;
  if (name == nullptr || handler == nullptr) error = ERROR_INVALID_PARAMETER;
  if (injected) error = *injected;
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return nullptr;
  }
  instance->SetHandler(handler, context);
  return StatusHandle();
}

BOOL WINAPI SetServiceStatus(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status) {
  if (const auto code = host::InjectedFailure("SetServiceStatus")) return host::FailWith(*code);
  const auto instance = host::CurrentInstance();
  if (service != StatusHandle() || instance == nullptr) return host::FailWith(ERROR_INVALID_HANDLE);
  if (status == nullptr) return host::FailWith(ERROR_INVALID_PARAMETER);
  const DWORD error = instance->Report(*status);
  return error == ERROR_SUCCESS ? TRUE : host::FailWith(error);
}
