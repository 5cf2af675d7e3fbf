// Registry values of the product's machine key, as tests arrange and read them.
#pragma once

#include <optional>
#include <string>

#include "platform/registry.h"

namespace support {

inline constexpr const WCHAR* kProductKey = W("Software\\Quorvex\\HKD04A7");
inline constexpr const WCHAR* kWakeupKey = W("Software\\Quorvex\\HKD04A7\\Wakeup");

// Under HKEY_LOCAL_MACHINE; `view` is 0 or KEY_WOW64_32KEY. The key is made when it is missing.
void SetNumber(const WCHAR* key, const WCHAR* name, DWORD value, REGSAM view = 0);
void SetText(const WCHAR* key, const WCHAR* name, const WideString& text, REGSAM view = 0);

// None when the value is missing or of another type.
std::optional<DWORD> Number(const WCHAR* key, const WCHAR* name, REGSAM view = 0);
std::optional<WideString> Text(const WCHAR* key, const WCHAR* name, REGSAM view = 0);

}  // namespace support
