#include "appservice/session_user_token.h"

#include "appservice/notify_decision.h"
#include "platform/errors.h"
#include "platform/tokens.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Common::UniqueHandle;
using Service::CWtsSessionApi;

// The last error tells a privilege that the token does not have from one that has been enabled.
bool EnablePrivilege(HANDLE token, const WCHAR* name) {
  TOKEN_PRIVILEGES privileges{};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  return LookupPrivilegeValueW(nullptr, name, &privileges.Privileges[0].Luid) &&
         AdjustTokenPrivileges(token, FALSE, &privileges, sizeof(privileges), nullptr, nullptr) &&
         GetLastError() == ERROR_SUCCESS;
}

bool EnableTcbPrivilege() {
  UniqueHandle token;
  return OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, token.Receive()) &&
         EnablePrivilege(token.Get(), W("SeTcbPrivilege"));
}

// The error of the last attempt; 0 when `token` holds the token.
DWORD QueryOnce(const CWtsSessionApi& wtsApi, DWORD sessionId, UniqueHandle& token) {
  return wtsApi.WTSQueryUserToken(sessionId, token.Receive()) ? ERROR_SUCCESS : GetLastError();
}

UniqueHandle QueryUserToken(const CWtsSessionApi& wtsApi, DWORD sessionId) {
  UniqueHandle token;
  DWORD error = QueryOnce(wtsApi, sessionId, token);
  if (MayLackPrivilege(error) && EnableTcbPrivilege()) error = QueryOnce(wtsApi, sessionId, token);
  if (!token) DebugLog(W("hkd04a7, fail get token=0x%08x\n"), error);
  return token;
}

// Finds the session with the terminal services' list, which goes back before anything else is done.
std::optional<DWORD> FindActiveSession(const CWtsSessionApi& wtsApi) {
  PWTS_SESSION_INFOW sessions = nullptr;
  DWORD count = 0;
  if (!wtsApi.WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count)) return std::nullopt;
  const std::optional<DWORD> active = FirstActiveSession({sessions, count});
  const DWORD lastError = GetLastError();
  wtsApi.WTSFreeMemory(sessions);
  SetLastError(lastError);
  return active;
}

}  // namespace

UniqueHandle GetSessionUserToken(const CWtsSessionApi& wtsApi, DWORD sessionId) {
  if (wtsApi.WTSQueryUserToken == nullptr) return {};
  UniqueHandle primary;
  const UniqueHandle token = QueryUserToken(wtsApi, sessionId);
  if (!token) return primary;
  if (!DuplicateTokenEx(token.Get(), TOKEN_ALL_ACCESS, nullptr, SecurityIdentification, TokenPrimary,
                        primary.Receive())) {
    DebugLog(W("hkd04a7, fail dup token=0x%08x\n"), GetLastError());
  }
  return primary;
}

UniqueHandle GetActiveUserToken(const CWtsSessionApi& wtsApi) {
  if (wtsApi.WTSQueryUserToken == nullptr || wtsApi.WTSEnumerateSessionsW == nullptr ||
      wtsApi.WTSFreeMemory == nullptr) {
    return {};
  }
  const std::optional<DWORD> session = FindActiveSession(wtsApi);
  return session ? GetSessionUserToken(wtsApi, *session) : UniqueHandle();
}

}  // namespace Quorvex::PC::Hkd04a7
