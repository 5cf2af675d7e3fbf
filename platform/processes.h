// Processes: the running one, opened ones, and programs started with another token and its environment.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <processthreadsapi.h>
#include <userenv.h>
#else
#include "platform/host/processes/processes.h"
#endif
