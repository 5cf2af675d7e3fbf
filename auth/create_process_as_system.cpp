#include "auth/create_process_as_system.h"

#include "auth/process_token.h"
#include "auth/run_as_system.h"
#include "auth/winlogon_token.h"
#include "common/handles.h"
#include "common/hresult.h"
#include "common/user_environment.h"
#include "platform/errors.h"
#include "platform/processes.h"
#include "platform/sync.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kCreationFlags = CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS | CREATE_UNICODE_ENVIRONMENT;

HRESULT LastErrorAnswer() {
  return Common::HresultFromWin32(GetLastError());
}

Common::UniqueHandle SystemToken(const CWtsProcessApi& wtsApi, DWORD flags) {
  return (flags & RUN_FILE_IN_CLIENT_SESSION) != 0 ? GetWinLogonExeToken(wtsApi)
                                                   : DuplicateProcessToken(GetCurrentProcessId());
}

struct StartedProgram {
  Common::UniqueHandle process;
  Common::UniqueHandle thread;
};

// False: the last error tells why.
bool StartProgram(HANDLE token, void* environment, const AllowedCommand& command, StartedProgram& started) {
  WideString commandLine = FormatCommandLine(command);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION information{};
  if (!CreateProcessAsUserW(token, command.application.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                            kCreationFlags, environment, nullptr, &startup, &information)) {
    return false;
  }
  started.process.Reset(information.hProcess);
  started.thread.Reset(information.hThread);
  return true;
}

// Nothing cuts this wait short, neither the client's leaving nor the service's stop.
HRESULT WaitForProgram(HANDLE process, DWORD* exitCode) {
  const DWORD ended = WaitForSingleObject(process, INFINITE);
  if (ended != WAIT_OBJECT_0) return Common::HresultFromWin32(ended);
  return GetExitCodeProcess(process, exitCode) ? S_OK : LastErrorAnswer();
}

}  // namespace

WideString FormatCommandLine(const AllowedCommand& command) {
  return W("\"") + command.application + W("\" ") + command.parameters;
}

HRESULT CreateProcessAsSystem(const CWtsProcessApi& wtsApi, DWORD flags, const AllowedCommand& command,
                              DWORD* exitCode) {
  const Common::UniqueHandle token = SystemToken(wtsApi, flags);
  if (!token) {
    DebugLog(W("hkd04a7, fail get token=0x%08x\n"), GetLastError());
    return LastErrorAnswer();
  }
  const Common::UniqueEnvironmentBlock environment = Common::CreateUserEnvironment(token.Get());
  if (!environment) {
    DebugLog(W("hkd04a7, fail get env=0x%08x\n"), GetLastError());
    return LastErrorAnswer();
  }
  StartedProgram program;
  if (!StartProgram(token.Get(), environment.Get(), command, program)) return LastErrorAnswer();
  if ((flags & RUN_FILE_NO_WAIT) == 0 && program.process) return WaitForProgram(program.process.Get(), exitCode);
  *exitCode = 0;
  return S_OK;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
