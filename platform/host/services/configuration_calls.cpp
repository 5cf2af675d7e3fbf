// The control manager's database from a program's side: open, change, query, close.
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/services/service_handles.h"

using nlohmann::json;

namespace {

constexpr DWORD kDatabaseDoesNotExist = 1065;
constexpr DWORD kServerUnavailable = 1722;

SC_HANDLE NoHandle(DWORD error) {
  SetLastError(error);
  return nullptr;
}

// Asks the machine; a machine that is not up is a manager that cannot be reached.
DWORD Ask(json request, json* reply) {
  const DWORD error = host::MachineLink::Instance().Call(std::move(request), reply);
  return error == ERROR_SERVICE_NOT_ACTIVE ? kServerUnavailable : error;
}

// The service behind `handle` when it was opened with `access`; the last error set otherwise.
std::optional<host::OpenedService> Opened(SC_HANDLE handle, DWORD access) {
  auto opened = host::ServiceHandles::Instance().Find(handle);
  if (!opened || opened->service.empty()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return std::nullopt;
  }
  if ((opened->access & access) != access) {
    SetLastError(ERROR_ACCESS_DENIED);
    return std::nullopt;
  }
  return opened;
}

}  // namespace

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access) {
  if (const auto code = host::InjectedFailure("OpenSCManagerW")) return NoHandle(*code);
  if (machine != nullptr && *machine != 0) host::Unsupported("OpenSCManagerW", "machine");
  if (database != nullptr && host::CompareNoCase(database, SERVICES_ACTIVE_DATABASEW) != 0)
    return NoHandle(kDatabaseDoesNotExist);
  const DWORD error = Ask(json{{"op", "ping"}}, nullptr);
  if (error != ERROR_SUCCESS) return NoHandle(error);
  return host::ServiceHandles::Instance().Open({"", access});
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  if (const auto code = host::InjectedFailure("OpenServiceW")) return NoHandle(*code);
  const auto opened = host::ServiceHandles::Instance().Find(manager);
  if (!opened || !opened->service.empty()) return NoHandle(ERROR_INVALID_HANDLE);
  if (name == nullptr || *name == 0) return NoHandle(ERROR_INVALID_NAME);
  const std::string service = host::ToUtf8(name);
  const DWORD error = Ask(json{{"op", "service.query"}, {"name", service}}, nullptr);
  if (error != ERROR_SUCCESS) return NoHandle(error);
  return host::ServiceHandles::Instance().Open({service, access});
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE handle) {
  if (const auto code = host::InjectedFailure("CloseServiceHandle")) return host::FailWith(*code);
  return host::ServiceHandles::Instance().Close(handle) ? TRUE : host::FailWith(ERROR_INVALID_HANDLE);
}

BOOL WINAPI ChangeServiceConfigW(SC_HANDLE service, DWORD serviceType, DWORD startType, DWORD errorControl,
                                 LPCWSTR program, LPCWSTR loadOrderGroup, LPDWORD tag, LPCWSTR dependencies,
                                 LPCWSTR account, LPCWSTR password, LPCWSTR displayName) {
  if (const auto code = host::InjectedFailure("ChangeServiceConfigW")) return host::FailWith(*code);
  if (serviceType != SERVICE_NO_CHANGE) host::Unsupported("ChangeServiceConfigW", "dwServiceType");
  if (errorControl != SERVICE_NO_CHANGE) host::Unsupported("ChangeServiceConfigW", "dwErrorControl");
  if (loadOrderGroup != nullptr || tag != nullptr) host::Unsupported("ChangeServiceConfigW", "lpLoadOrderGroup");
  if (dependencies != nullptr) host::Unsupported("ChangeServiceConfigW", "lpDependencies");
  if (account != nullptr || password != nullptr) host::Unsupported("ChangeServiceConfigW", "lpServiceStartName");
  const auto opened = Opened(service, SERVICE_CHANGE_CONFIG);
  if (!opened) return FALSE;
  json request = {{"op", "service.config"}, {"name", opened->service}};
  if (startType != SERVICE_NO_CHANGE) request["startType"] = startType;
  if (program != nullptr) request["program"] = host::ToUtf8(program);
  if (displayName != nullptr) request["displayName"] = host::ToUtf8(displayName);
  const DWORD error = Ask(std::move(request), nullptr);
  return error == ERROR_SUCCESS ? TRUE : host::FailWith(error);
}

BOOL WINAPI QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status) {
  if (const auto code = host::InjectedFailure("QueryServiceStatus")) return host::FailWith(*code);
  if (status == nullptr) return host::FailWith(ERROR_INVALID_PARAMETER);
  const auto opened = Opened(service, SERVICE_QUERY_STATUS);
  if (!opened) return FALSE;
  json reply;
  const DWORD error = Ask(json{{"op", "service.query"}, {"name", opened->service}}, &reply);
  if (error != ERROR_SUCCESS) return host::FailWith(error);
  *status = SERVICE_STATUS{SERVICE_WIN32_OWN_PROCESS,
                           reply.value("state", DWORD{0}),
                           reply.value("controlsAccepted", DWORD{0}),
                           reply.value("win32ExitCode", DWORD{0}),
                           reply.value("serviceSpecificExitCode", DWORD{0}),
                           reply.value("checkPoint", DWORD{0}),
                           reply.value("waitHint", DWORD{0})};
  return TRUE;
}
