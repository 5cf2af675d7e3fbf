// Memory that one side allocates and the other frees.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <winbase.h>
#else
#include "platform/host/kernel/memory.h"
#endif
