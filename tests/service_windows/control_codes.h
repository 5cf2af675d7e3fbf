// The control manager alone sends power and session controls, but everyone may send user-defined ones. The service
// under test takes some of these for the others.
#pragma once

#include <windows.h>

// A power event's type, or a session's notice about session 7, behind its offset.
inline constexpr DWORD kFirstPowerCode = 128;
inline constexpr DWORD kFirstSessionCode = 192;
inline constexpr DWORD kNoticeSession = 7;

inline constexpr DWORD PowerCode(DWORD eventType) {
  return kFirstPowerCode + eventType;
}
inline constexpr DWORD SessionCode(DWORD eventType) {
  return kFirstSessionCode + eventType;
}
