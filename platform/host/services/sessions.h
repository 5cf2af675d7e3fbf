// The terminal-services functions, as they are bound at run time from "wtsapi32.dll".
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/security/security_types.h"

enum WTS_CONNECTSTATE_CLASS : std::int32_t {
  WTSActive,
  WTSConnected,
  WTSConnectQuery,
  WTSShadow,
  WTSDisconnected,
  WTSIdle,
  WTSListen,
  WTSReset,
  WTSDown,
  WTSInit,
};

struct WTS_SESSION_INFOW {
  DWORD SessionId;
  LPWSTR pWinStationName;
  WTS_CONNECTSTATE_CLASS State;
};
using PWTS_SESSION_INFOW = WTS_SESSION_INFOW*;

// A record of level 0.
struct WTS_PROCESS_INFOW {
  DWORD SessionId;
  DWORD ProcessId;
  LPWSTR pProcessName;
  PSID pUserSid;
};
using PWTS_PROCESS_INFOW = WTS_PROCESS_INFOW*;

enum WTS_TYPE_CLASS : std::int32_t { WTSTypeProcessInfoLevel0 };

#define WTS_CURRENT_SERVER_HANDLE (static_cast<HANDLE>(nullptr))
#define WTS_ANY_SESSION (static_cast<DWORD>(-2))

extern "C" {
// The machine's sessions in the order of their identifiers, session 0 of the services (disconnected) first, as an array
// of `count` records that the caller gives to WTSFreeMemory. `server` must be null. No round trip to the machine. FALSE
// with the last error on failure: ERROR_INVALID_PARAMETER (87) for a null argument, a `reserved` other than 0 or a
// `version` other than 1; RPC_S_SERVER_UNAVAILABLE (1722) when no machine is up.
BOOL WINAPI WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version, PWTS_SESSION_INFOW* sessions,
                                  DWORD* count);

// A primary token, with all access, of the user logged on to the session, active or not; the caller closes it. FALSE
// with the last error on failure: ERROR_PRIVILEGE_NOT_HELD (1314) unless the process's token has SE_TCB_NAME enabled
// and the thread impersonates nobody, ERROR_CTX_WINSTATION_NOT_FOUND (7022) for no such session, ERROR_NO_TOKEN (1008)
// for one that nobody is logged on to.
BOOL WINAPI WTSQueryUserToken(ULONG sessionId, PHANDLE token);

// Null memory is accepted.
void WINAPI WTSFreeMemory(PVOID memory);

// The programs of a session (or of WTS_ANY_SESSION) in the order of their identifiers, as an array of `count` records
// that the caller gives to WTSFreeMemoryExW as WTSTypeProcessInfoLevel0. `*level` must be 0 and `server` null. A
// session that does not exist has none. FALSE with the last error on failure: ERROR_INVALID_PARAMETER (87) for a null
// argument.
BOOL WINAPI WTSEnumerateProcessesExW(HANDLE server, DWORD* level, DWORD sessionId, LPWSTR* processInfo, DWORD* count);
// Null memory is accepted; FALSE with ERROR_INVALID_PARAMETER (87) for another type.
BOOL WINAPI WTSFreeMemoryExW(WTS_TYPE_CLASS typeClass, PVOID memory, ULONG entries);
}
