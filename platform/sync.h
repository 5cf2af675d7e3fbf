// Events and waiting.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <synchapi.h>
#else
#include "platform/host/kernel/address_wait.h"
#include "platform/host/kernel/sync.h"
#endif
