// I/O completion ports.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <ioapiset.h>
#else
#include "platform/host/kernel/completion_port.h"
#endif
