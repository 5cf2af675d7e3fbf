// Error codes, HRESULTs and the thread's last error.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <winerror.h>
#else
#include "platform/host/base/error_codes.h"
#include "platform/host/base/last_error.h"
#endif
