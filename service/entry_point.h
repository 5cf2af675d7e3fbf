// The process: log switch, command line, and one of the two roles.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Runs the whole process and returns its exit code: 0, or -1 when the role could not be taken up. `arguments` is the
// vector as the runtime library has split it; it is read until the function returns.
int RunProcess(int argumentCount, WCHAR* const* arguments);

}  // namespace Quorvex::PC::Hkd04a7::Service
