// Memory of the local heap: allocated by a call of the platform, freed by its caller with LocalFree.
#pragma once

#include "platform/host/base/types.h"

using HLOCAL = HANDLE;

#define LMEM_FIXED 0x0000u
#define LMEM_ZEROINIT 0x0040u
#define LPTR 0x0040u

// A fixed block of `bytes` bytes, aligned for any type, zeroed with LMEM_ZEROINIT. Null with ERROR_NOT_ENOUGH_MEMORY
// (8). Movable memory is not supported.
HLOCAL LocalAlloc(UINT flags, SIZE_T bytes);

// Frees a block: null. Null is allowed. A pointer that is no block of the heap: that pointer, with ERROR_INVALID_HANDLE
// (6).
HLOCAL LocalFree(HLOCAL block);

namespace host {

// Blocks allocated and not freed, for leak checks.
int LocalBlockCount();

}  // namespace host
