#include "tools/windows/service_manager.h"

#include <vector>

#include "common/service_name.h"
#include "rpc/wakeup_check_event.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

using Quorvex::PC::Common::UniqueHandle;
namespace Common = Quorvex::PC::Common;

constexpr ULONGLONG kPatience = 60'000;      // milliseconds, for a start or a stop
constexpr ULONGLONG kReadyPatience = 5'000;  // and for the wake check of a service that runs
constexpr DWORD kPollInterval = 20;

DWORD Answer(BOOL succeeded) {
  return succeeded ? ERROR_SUCCESS : GetLastError();
}

UniqueHandle OpenWakeCheckEvent() {
  return UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, Quorvex::PC::Hkd04a7::Service::kCompletedCheckWakeupEvent));
}

bool WakeCheckIsDone() {
  const UniqueHandle event = OpenWakeCheckEvent();
  return event && WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
}

// A list of names: the endpoint map, without which the interface is not to be found, is there before the service.
constexpr const WCHAR* kDependencies = W("RpcSs\0");

DWORD StartType(const ServiceRegistration& registration) {
  return registration.automatic ? SERVICE_AUTO_START : SERVICE_DEMAND_START;
}

}  // namespace

DWORD ServiceManager::Open(DWORD managerRights, DWORD serviceRights) {
  manager_.Reset(OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, managerRights));
  if (!manager_) return GetLastError();
  service_.Reset(OpenServiceW(manager_.Get(), Common::kServiceName, serviceRights));
  if (service_) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  return error == ERROR_SERVICE_DOES_NOT_EXIST ? ERROR_SUCCESS : error;
}

DWORD ServiceManager::Create(const ServiceRegistration& registration) {
  service_.Reset(CreateServiceW(manager_.Get(), Common::kServiceName, ToWide(kServiceDisplayName).c_str(),
                                SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, StartType(registration),
                                SERVICE_ERROR_NORMAL, ServiceCommandLine(registration.program).c_str(), nullptr,
                                nullptr, kDependencies, nullptr, nullptr));
  return Answer(static_cast<bool>(service_));
}

DWORD ServiceManager::Change(const ServiceRegistration& registration) {
  return Answer(ChangeServiceConfigW(service_.Get(), SERVICE_WIN32_OWN_PROCESS, StartType(registration),
                                     SERVICE_ERROR_NORMAL, ServiceCommandLine(registration.program).c_str(), nullptr,
                                     nullptr, kDependencies, W("LocalSystem"), W(""),
                                     ToWide(kServiceDisplayName).c_str()));
}

DWORD ServiceManager::Describe() {
  WideString text = ToWide(kServiceDescription);
  SERVICE_DESCRIPTIONW description = {text.data()};
  return Answer(ChangeServiceConfig2W(service_.Get(), SERVICE_CONFIG_DESCRIPTION, &description));
}

DWORD ServiceManager::SetFailureActions() {
  SC_ACTION actions[] = {{SC_ACTION_RESTART, 5'000}, {SC_ACTION_RESTART, 30'000}, {SC_ACTION_RESTART, 60'000}};
  SERVICE_FAILURE_ACTIONSW failure = {};
  failure.dwResetPeriod = 24 * 60 * 60;  // seconds
  failure.cActions = static_cast<DWORD>(std::size(actions));
  failure.lpsaActions = actions;
  if (!ChangeServiceConfig2W(service_.Get(), SERVICE_CONFIG_FAILURE_ACTIONS, &failure)) return GetLastError();
  // A stop with an error counts as a failure too: a client that still holds the wake-check event makes one, for a
  // while.
  SERVICE_FAILURE_ACTIONS_FLAG flag = {TRUE};
  const DWORD error = Answer(ChangeServiceConfig2W(service_.Get(), SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &flag));
  // A manager without this setting counts crashes alone.
  return error == ERROR_INVALID_LEVEL ? ERROR_SUCCESS : error;
}

DWORD ServiceManager::Delete() {
  const DWORD error = Answer(DeleteService(service_.Get()));
  if (error == ERROR_SUCCESS) service_.Reset();
  return error;
}

DWORD ServiceManager::Query(ServiceState* state) const {
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service_.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                            &needed))
    return GetLastError();
  *state = {status.dwCurrentState, status.dwProcessId, status.dwWin32ExitCode, status.dwServiceSpecificExitCode};
  return ERROR_SUCCESS;
}

DWORD ServiceManager::Query(ServiceConfiguration* configuration) const {
  DWORD size = 0;
  QueryServiceConfigW(service_.Get(), nullptr, 0, &size);
  if (const DWORD error = GetLastError(); error != ERROR_INSUFFICIENT_BUFFER) return error;
  std::vector<std::uint64_t> buffer(size / sizeof(std::uint64_t) + 1);
  auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
  if (!QueryServiceConfigW(service_.Get(), config, size, &size)) return GetLastError();
  *configuration = {config->dwStartType, config->lpBinaryPathName};
  return ERROR_SUCCESS;
}

DWORD ServiceManager::Start() {
  // The event of an earlier start, which some client still has open, says nothing of this one.
  const bool leftOver = static_cast<bool>(OpenWakeCheckEvent());
  if (!StartServiceW(service_.Get(), 0, nullptr)) return GetLastError();
  ServiceState state;
  if (const DWORD error = AwaitStateOtherThan(SERVICE_START_PENDING, &state); error != ERROR_SUCCESS) return error;
  const ULONGLONG deadline = GetTickCount64() + kReadyPatience;
  while (state.state == SERVICE_RUNNING && (leftOver || !WakeCheckIsDone()) && GetTickCount64() < deadline) {
    Sleep(kPollInterval);
    if (const DWORD error = Query(&state); error != ERROR_SUCCESS) return error;
  }
  return ERROR_SUCCESS;
}

DWORD ServiceManager::Stop() {
  ServiceState state;
  if (const DWORD error = Query(&state); error != ERROR_SUCCESS) return error;
  // Null in the hands of whoever may stop the service but not wait for its process.
  const UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, state.pid));
  SERVICE_STATUS status = {};
  if (!ControlService(service_.Get(), SERVICE_CONTROL_STOP, &status)) return GetLastError();
  if (const DWORD error = AwaitStateOtherThan(SERVICE_STOP_PENDING, &state); error != ERROR_SUCCESS) return error;
  if (state.state != SERVICE_STOPPED) return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  if (process && WaitForSingleObject(process.Get(), kPatience) == WAIT_TIMEOUT) return ERROR_TIMEOUT;
  return ERROR_SUCCESS;
}

DWORD ServiceManager::AwaitStateOtherThan(DWORD pending, ServiceState* state) const {
  const ULONGLONG deadline = GetTickCount64() + kPatience;
  while (true) {
    if (const DWORD error = Query(state); error != ERROR_SUCCESS) return error;
    if (state->state != pending) return ERROR_SUCCESS;
    if (GetTickCount64() > deadline) return ERROR_TIMEOUT;
    Sleep(kPollInterval);
  }
}

}  // namespace tool
