// The process thread pool.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <threadpoolapiset.h>
#else
#include "platform/host/kernel/thread_pool.h"
#endif
