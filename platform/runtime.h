// The Windows Runtime: its initialisation, its strings, activation by class name, and its basic interfaces.
#pragma once

#include "platform/com.h"

#ifdef _WIN32
#include <roapi.h>
#include <winstring.h>
#else
#include "platform/host/runtime/runtime.h"
#endif
#include "platform/runtime_interfaces.h"
