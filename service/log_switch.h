// The process-wide log switch, read from the registry once at process start.
#pragma once

namespace Quorvex::PC::Hkd04a7 {

// True when "EnableLog" exists under the product's machine key, is a REG_DWORD and is not zero.
bool ReadLogSwitch();

}  // namespace Quorvex::PC::Hkd04a7
