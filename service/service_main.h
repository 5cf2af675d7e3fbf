// The service routine given to the dispatcher.
#pragma once

#include "platform/services.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Registers the control handler, reports the start, runs the worker on the calling thread and reports the stop. The
// arguments are ignored.
void WINAPI ServiceMain(DWORD argumentCount, LPWSTR* arguments);

}  // namespace Quorvex::PC::Hkd04a7::Service
