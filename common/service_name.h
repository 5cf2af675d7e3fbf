// The service's name in the control manager's database, and in the paths of the users' keys.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Common {

inline constexpr const WCHAR* kServiceName = W("Hkd04a7DriverUtilityService");

}  // namespace Quorvex::PC::Common
