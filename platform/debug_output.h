// The debugger output channel.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <debugapi.h>
#else
#include "platform/host/kernel/debug_output.h"
#endif
