// The terminal-services functions' types, as they are bound at run time. The host has no "wtsapi32.dll" yet, so nothing
// here is defined: taking the type of a function needs its declaration only.
#pragma once

#include "platform/host/base/types.h"

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

extern "C" {
BOOL WINAPI WTSEnumerateSessionsW(HANDLE server, DWORD reserved, DWORD version, PWTS_SESSION_INFOW* sessions,
                                  DWORD* count);
BOOL WINAPI WTSQueryUserToken(ULONG sessionId, PHANDLE token);
void WINAPI WTSFreeMemory(PVOID memory);
}
