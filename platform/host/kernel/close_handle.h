// CloseHandle.
#pragma once

#include "platform/host/base/types.h"

// Closes a handle of any kind of kernel object. FALSE with ERROR_INVALID_HANDLE (6) for a value that is no open handle.
// The last error is left alone on success. A pseudo handle (-1, -2) is left as it is: TRUE.
BOOL CloseHandle(HANDLE handle);
