// The program's entry point and its argument vector, split by the run-time library.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <stdlib.h>
#else
#include "platform/host/kernel/process_entry.h"
#endif
