// The rule for entry points that a library may lack: they are never called blindly.
#pragma once

#include "platform/errors.h"

namespace Quorvex::PC::Common {

// Calls `entryPoint` and returns whether it answered non-zero. False with last error 50 (ERROR_NOT_SUPPORTED) when it
// is missing.
template <typename Function, typename... Args>
bool CallEntryPoint(Function* entryPoint, Args... args) {
  if (entryPoint == nullptr) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
  }
  return entryPoint(args...) != 0;
}

}  // namespace Quorvex::PC::Common
