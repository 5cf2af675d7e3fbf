// The terminal-services functions, as they are bound at run time from "wtsapi32.dll". That module has the process
// calls; of the session calls only the types are taken.
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
BOOL WINAPI WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version, PWTS_SESSION_INFOW* sessions,
                                  DWORD* count);
BOOL WINAPI WTSQueryUserToken(ULONG sessionId, PHANDLE token);
void WINAPI WTSFreeMemory(PVOID memory);

// The programs of a session (or of WTS_ANY_SESSION) in the order of their identifiers, as an array of `count` records
// that the caller gives to WTSFreeMemoryExW as WTSTypeProcessInfoLevel0. `*level` must be 0 and `server` null. A
// session that does not exist has none. FALSE with the last error on failure: ERROR_INVALID_PARAMETER (87) for a null
// argument.
BOOL WINAPI WTSEnumerateProcessesExW(HANDLE server, DWORD* level, DWORD sessionId, LPWSTR* processInfo, DWORD* count);
// Null memory is accepted; FALSE with ERROR_INVALID_PARAMETER (87) for another type.
BOOL WINAPI WTSFreeMemoryExW(WTS_TYPE_CLASS typeClass, PVOID memory, ULONG entries);
}
