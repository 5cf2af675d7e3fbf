// The control codes of services, as the platform numbers them.
#pragma once

#include "platform/host/base/types.h"

namespace machine {

inline constexpr DWORD kControlStop = 1;
inline constexpr DWORD kControlPause = 2;
inline constexpr DWORD kControlContinue = 3;
inline constexpr DWORD kControlInterrogate = 4;
inline constexpr DWORD kControlShutdown = 5;
inline constexpr DWORD kControlPowerEvent = 13;
inline constexpr DWORD kControlSessionChange = 14;

}  // namespace machine
