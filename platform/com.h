// COM: apartments, and the interface that all others begin with.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <objbase.h>
#else
#include "platform/host/kernel/com.h"
#endif
