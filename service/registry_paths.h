// The service's own key and the values other parts of it read there.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Under HKEY_LOCAL_MACHINE.
inline constexpr const WCHAR* kProductKey = W("Software\\Quorvex\\HKD04A7");
inline constexpr const WCHAR* kEnableLogValue = W("EnableLog");
inline constexpr const WCHAR* kCurrentVersionValue = W("CurrentVersion");
inline constexpr const WCHAR* kInstPathValue = W("InstPath");
inline constexpr const WCHAR* kDllNameValue = W("DllName");

// Room for "CurrentVersion", in characters (200 bytes).
inline constexpr std::size_t kVersionCapacity = 100;

}  // namespace Quorvex::PC::Hkd04a7::Service
