// The configuration manager: device nodes and their registry keys.
#pragma once

#include "platform/registry.h"

#ifdef _WIN32
#include <cfgmgr32.h>
#else
#include "platform/host/devices/devices.h"
#endif
