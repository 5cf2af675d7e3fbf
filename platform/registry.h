// The registry: keys, values and enumeration, in the 64-bit and the 32-bit view.
#pragma once

#include "platform/types.h"

#ifndef _WIN32
#include "platform/host/registry/registry.h"
#endif
