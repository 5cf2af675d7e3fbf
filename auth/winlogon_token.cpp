#include "auth/winlogon_token.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "auth/process_token.h"
#include "common/access_token.h"
#include "platform/errors.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kNoSession = 0xFFFFFFFF;

// The session of the client's token; kNoSession when it cannot be read.
DWORD ReadClientSession() {
  Common::CAccessToken client;
  if (!client.OpenRPCClientToken()) return kNoSession;
  // Impersonating from here to Revert.
  DWORD session = 0;
  DWORD size = 0;
  if (!GetTokenInformation(client.Get(), TokenSessionId, &session, sizeof(session), &size)) session = kNoSession;
  client.Revert();
  return session;
}

// The processes of a session as the terminal services list them.
class ProcessList {
 public:
  // Both entry points must be there.
  ProcessList(const CWtsProcessApi& wtsApi, DWORD session) : wtsApi_(wtsApi) {
    DWORD level = 0;
    LPWSTR list = nullptr;
    if (!wtsApi.WTSEnumerateProcessesExW(WTS_CURRENT_SERVER_HANDLE, &level, session, &list, &count_)) return;
    records_ = reinterpret_cast<WTS_PROCESS_INFOW*>(list);
  }
  ProcessList(const ProcessList&) = delete;
  ProcessList& operator=(const ProcessList&) = delete;
  ~ProcessList() {
    if (records_ == nullptr) return;
    const DWORD lastError = GetLastError();
    wtsApi_.WTSFreeMemoryExW(WTSTypeProcessInfoLevel0, records_, count_);
    SetLastError(lastError);
  }

  // Whether there is a list.
  explicit operator bool() const { return records_ != nullptr; }
  std::span<const WTS_PROCESS_INFOW> Records() const { return {records_, count_}; }

 private:
  const CWtsProcessApi& wtsApi_;
  WTS_PROCESS_INFOW* records_ = nullptr;
  DWORD count_ = 0;
};

bool IsWinLogonOfSession(const WTS_PROCESS_INFOW& record, DWORD session) {
  return record.SessionId == session && IsWinLogonExe(record.pProcessName) && IsLocalSystemProcess(record.ProcessId);
}

// 0 when the session has none.
DWORD GetWinLogonExeProcessId(const CWtsProcessApi& wtsApi, DWORD session) {
  DebugLog(W("hkd04a7, GetWinLogonExeProcessId, sid=%u\n"), session);
  const ProcessList processes(wtsApi, session);
  if (!processes) return 0;
  // What no process of the list makes more precise.
  SetLastError(ERROR_NOT_FOUND);
  for (const WTS_PROCESS_INFOW& record : processes.Records()) {
    DebugLog(W("hkd04a7, GetWinLogonExeToken, pid=%u, name=%s\n"), record.ProcessId,
             static_cast<const WCHAR*>(record.pProcessName));
    if (IsWinLogonOfSession(record, session)) return record.ProcessId;
  }
  return 0;
}

}  // namespace

bool IsWinLogonExe(const WCHAR* imageName) {
  constexpr WideStringView kName = W("winlogon.exe");
  if (imageName == nullptr) return false;
  const WideStringView name = imageName;
  return std::equal(name.begin(), name.end(), kName.begin(), kName.end(), [](WCHAR given, WCHAR expected) {
    return given == expected || (given >= 'A' && given <= 'Z' && given + ('a' - 'A') == expected);
  });
}

Common::UniqueHandle GetWinLogonExeToken(const CWtsProcessApi& wtsApi) {
  // What a client without a session leaves behind.
  SetLastError(ERROR_NOT_FOUND);
  const DWORD session = ReadClientSession();
  if (session == kNoSession) return {};
  if (wtsApi.WTSEnumerateProcessesExW == nullptr || wtsApi.WTSFreeMemoryExW == nullptr) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return {};
  }
  const DWORD processId = GetWinLogonExeProcessId(wtsApi, session);
  if (processId == 0) return {};
  return DuplicateProcessToken(processId);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
