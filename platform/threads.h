// Threads.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <process.h>
#include <processthreadsapi.h>
#include <synchapi.h>
#else
#include "platform/host/kernel/threads.h"
#endif
