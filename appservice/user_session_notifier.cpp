#include "appservice/user_session_notifier.h"

#include "appservice/notify_decision.h"
#include "appservice/notify_needed.h"
#include "appservice/session_user_token.h"
#include "common/handles.h"
#include "common/module_path.h"
#include "common/user_environment.h"
#include "device/event_id.h"
#include "platform/errors.h"
#include "platform/modules.h"
#include "platform/processes.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Common::UniqueHandle;

// A session change names its session in the second data word.
UniqueHandle UserToTell(const Service::CWtsSessionApi& wtsApi, std::uint32_t eventId, std::uint32_t data2) {
  UniqueHandle token =
      eventId == EventId::SessionChange ? GetSessionUserToken(wtsApi, data2) : GetActiveUserToken(wtsApi);
  if (!token) DebugLog(W("hkd04a7, fail dup token=0x%08x\n"), GetLastError());
  return token;
}

bool ReadOwnPath(Common::PathBuffer& path) {
  const DWORD length = GetModuleFileNameW(nullptr, path, Common::kPathCapacity);
  if (length != 0 && length != Common::kPathCapacity) return true;
  DebugLog(W("hkd04a7, fail get self path, length=%u, error=0x%08x\n"), length, GetLastError());
  return false;
}

void StartProgram(HANDLE token, void* environment, const WCHAR* program, WCHAR* commandLine, DWORD flags) {
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started{};
  if (!CreateProcessAsUserW(token, program, commandLine, nullptr, nullptr, FALSE, flags, environment, nullptr, &startup,
                            &started)) {
    return DebugLog(W("hkd04a7, fail start=0x%08x\n"), GetLastError());
  }
  CloseHandle(started.hThread);
  CloseHandle(started.hProcess);
}

}  // namespace

void UwpAssistNotify(const Service::CWtsSessionApi& wtsApi, std::uint32_t eventId, std::uint32_t data1,
                     std::uint32_t data2) {
  DebugLog(W("hkd04a7 - uwpassist notify enter (%u, %08xh, %08xh)\n"), eventId, data1, data2);
  const UniqueHandle token = UserToTell(wtsApi, eventId, data2);
  if (!token) return;
  if (!IsNotifyNeeded(token.Get(), eventId, data1)) return DebugLog(W("hkd04a7, not need notify\n"));
  const Common::UniqueEnvironmentBlock environment = Common::CreateUserEnvironment(token.Get());
  if (!environment) return DebugLog(W("hkd04a7, fail get env=0x%08x\n"), GetLastError());
  Common::PathBuffer program;
  if (!ReadOwnPath(program)) return;
  CommandLineBuffer commandLine;
  if (!FormatDeliveryCommandLine(commandLine, program, eventId, data1, data2)) {
    return DebugLog(W("hkd04a7, fail make command line\n"));
  }
  StartProgram(token.Get(), environment.Get(), program, commandLine, CreationFlagsOf(eventId));
}

}  // namespace Quorvex::PC::Hkd04a7
