// Waiting until the value at an address changes.
#pragma once

#include "platform/host/base/types.h"

// Blocks while the `size` bytes at `address` (1, 2, 4 or 8 of them, aligned to their size) equal those at `compare`,
// until WakeByAddressAll is called for the address or `milliseconds` have passed (INFINITE: without end). May return
// sooner, so the caller looks at the value again. FALSE with ERROR_TIMEOUT (1460) when the time has passed, with
// ERROR_INVALID_PARAMETER (87) for another size. Threads of this process only.
BOOL WaitOnAddress(volatile void* address, PVOID compare, SIZE_T size, DWORD milliseconds);

// Wakes every thread that waits on `address`. Called after the value has been changed.
void WakeByAddressAll(PVOID address);
