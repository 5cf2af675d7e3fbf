// The running process, and opened ones.
#include <unistd.h>

#include <limits>
#include <memory>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/processes/effective_token.h"
#include "platform/host/processes/process_object.h"
#include "platform/host/processes/processes.h"

namespace {

bool IsCurrentProcess(HANDLE process) {
  return process == GetCurrentProcess();
}

std::optional<host::TokenFacts> TokenOf(pid_t pid) {
  return pid == getpid() ? host::OwnToken() : host::TokenOfProcess(pid);
}

HANDLE FailNull(DWORD code) {
  SetLastError(code);
  return nullptr;
}

}  // namespace

HANDLE GetCurrentProcess() {
  return INVALID_HANDLE_VALUE;  // the same value
}

DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(getpid());
}

HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId) {
  if (const auto code = host::InjectedFailure("OpenProcess")) return FailNull(*code);
  if (inherit) host::Unsupported("OpenProcess", "bInheritHandle");
  if (processId == 0 || processId > std::numeric_limits<pid_t>::max()) return FailNull(ERROR_INVALID_PARAMETER);
  const auto pid = static_cast<pid_t>(processId);
  const std::uint64_t startTime = host::ProcessStartTime(pid);
  const auto token = TokenOf(pid);
  if (!token) return FailNull(ERROR_INVALID_PARAMETER);
  if (!host::MayOpen(host::EffectiveToken(), *token)) return FailNull(ERROR_ACCESS_DENIED);
  const auto process =
      std::make_shared<host::ProcessObject>(pid, startTime, *token, host::ProcessObject::Origin::kOther);
  return host::OpenHandle(process, access & MAXIMUM_ALLOWED ? PROCESS_ALL_ACCESS : access);
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
  if (const auto code = host::InjectedFailure("TerminateProcess")) return host::FailWith(*code);
  if (!IsCurrentProcess(process)) host::Unsupported("TerminateProcess", "hProcess other than GetCurrentProcess()");
  _exit(static_cast<int>(exitCode & 0xFF));
}

BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode) {
  if (const auto code = host::InjectedFailure("GetExitCodeProcess")) return host::FailWith(*code);
  if (!exitCode) return host::FailWith(ERROR_NOACCESS);
  if (IsCurrentProcess(process)) {
    *exitCode = STILL_ACTIVE;
    return TRUE;
  }
  const auto object = host::ObjectOf<host::ProcessObject>(process, PROCESS_QUERY_INFORMATION);
  if (!object) return FALSE;
  const DWORD code = object->ReadExitCode(exitCode);
  return code == ERROR_SUCCESS ? TRUE : host::FailWith(code);
}
