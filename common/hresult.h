// The one conversion from Win32 codes to HRESULTs.
#pragma once

#include "platform/errors.h"
#include "platform/types.h"

namespace Quorvex::PC::Common {

// 0 and codes that are negative as a signed number (HRESULTs already) come back unchanged; any other code x becomes
// (x & 0xFFFF) | 0x80070000.
constexpr HRESULT HresultFromWin32(DWORD code) {
  const auto signedCode = static_cast<HRESULT>(code);
  return signedCode <= 0 ? signedCode : static_cast<HRESULT>((code & 0xFFFFu) | 0x80070000u);
}

}  // namespace Quorvex::PC::Common
