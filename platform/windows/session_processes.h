// What the tool chain's <wtsapi32.h> lacks of the process enumeration. Include that header before.
#pragma once

#include "platform/windows/sdk.h"

#if defined(__MINGW64_VERSION_MAJOR) && __MINGW64_VERSION_MAJOR <= 10

typedef enum _WTS_TYPE_CLASS {
  WTSTypeProcessInfoLevel0,
  WTSTypeProcessInfoLevel1,
  WTSTypeSessionInfoLevel1
} WTS_TYPE_CLASS;

extern "C" {
BOOL WINAPI WTSEnumerateProcessesExW(HANDLE server, DWORD* level, DWORD sessionId, LPWSTR* processInfo, DWORD* count);
BOOL WINAPI WTSFreeMemoryExW(WTS_TYPE_CLASS typeClass, PVOID memory, ULONG entries);
}

#endif
