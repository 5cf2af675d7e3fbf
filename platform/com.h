// COM apartments.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <objbase.h>
#else
#include "platform/host/kernel/com.h"
#endif
