// The sessions and their users' tokens.
#include <algorithm>
#include <memory>
#include <string>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/identity/session_list.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/services/sessions.h"

namespace {

constexpr DWORD kServerUnavailable = 1722;  // RPC_S_SERVER_UNAVAILABLE
constexpr DWORD kOnlyVersion = 1;

// What people read; a session that nobody looks at has no station.
std::u16string StationName(const host::SessionRow& session, std::uint32_t console) {
  if (session.id == 0) return u"Services";
  if (session.id == console) return u"Console";
  if (session.state == WTSDisconnected) return u"";
  const std::string number = std::to_string(session.id);
  return u"RDP-Tcp#" + std::u16string(number.begin(), number.end());
}

// One block: the records, behind them the names. Null with the last error.
PWTS_SESSION_INFOW MakeRecords(const host::SessionList& list) {
  std::u16string names;
  for (const host::SessionRow& session : list.sessions) names += StationName(session, list.console) + u'\0';
  const std::size_t records = list.sessions.size() * sizeof(WTS_SESSION_INFOW);
  auto* const block = static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, records + names.size() * sizeof(WCHAR)));
  if (block == nullptr) return nullptr;
  auto* name = reinterpret_cast<LPWSTR>(block + records);
  std::copy(names.begin(), names.end(), name);
  auto* record = reinterpret_cast<PWTS_SESSION_INFOW>(block);
  for (const host::SessionRow& session : list.sessions) {
    *record++ = {session.id, name, static_cast<WTS_CONNECTSTATE_CLASS>(session.state)};
    name += std::char_traits<WCHAR>::length(name) + 1;
  }
  return reinterpret_cast<PWTS_SESSION_INFOW>(block);
}

bool ActsAsSystem() {
  return host::ThreadToken() == nullptr && host::OwnPrivileges()->isTcbEnabled;
}

}  // namespace

BOOL WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version, PWTS_SESSION_INFOW* sessions, DWORD* count) {
  if (const auto code = host::InjectedFailure("WTSEnumerateSessionsW")) return host::FailWith(*code);
  if (server != WTS_CURRENT_SERVER_HANDLE) host::Unsupported("WTSEnumerateSessionsW", "hServer not null");
  if (sessions == nullptr || count == nullptr || reserved != 0 || version != kOnlyVersion) {
    return host::FailWith(ERROR_INVALID_PARAMETER);
  }
  const auto list = host::PublishedSessions();
  if (list == nullptr) return host::FailWith(kServerUnavailable);
  const PWTS_SESSION_INFOW records = MakeRecords(*list);
  if (records == nullptr) return FALSE;
  *sessions = records;
  *count = static_cast<DWORD>(list->sessions.size());
  return TRUE;
}

BOOL WTSQueryUserToken(ULONG sessionId, PHANDLE token) {
  if (const auto code = host::InjectedFailure("WTSQueryUserToken")) return host::FailWith(*code);
  if (token == nullptr) return host::FailWith(ERROR_INVALID_PARAMETER);
  if (!ActsAsSystem()) return host::FailWith(ERROR_PRIVILEGE_NOT_HELD);
  const auto list = host::PublishedSessions();
  if (list == nullptr) return host::FailWith(kServerUnavailable);
  const host::SessionRow* const session = list->Find(sessionId);
  if (session == nullptr) return host::FailWith(ERROR_CTX_WINSTATION_NOT_FOUND);
  if (session->sid.empty()) return host::FailWith(ERROR_NO_TOKEN);
  const host::TokenFacts user{session->sid, session->id};
  *token = host::OpenHandle(std::make_shared<host::TokenObject>(user, TokenPrimary), TOKEN_ALL_ACCESS);
  return TRUE;
}

void WTSFreeMemory(PVOID memory) {
  LocalFree(memory);
}
