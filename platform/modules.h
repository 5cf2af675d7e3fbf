// Loading libraries and the running program's path.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <libloaderapi.h>
#else
#include "platform/host/kernel/modules.h"
#endif
