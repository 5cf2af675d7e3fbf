// Closing kernel handles.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <handleapi.h>
#else
#include "platform/host/kernel/close_handle.h"
#endif
