// Threads.
#pragma once

#include "platform/host/base/types.h"

// Starts a thread that runs start(argument). Returns its handle (the caller closes it), or 0 with errno set. `security`
// must be null and `flags` 0 (running at once); a `stackSize` of 0 is the default. `threadId` may be null.
uintptr_t _beginthreadex(void* security, unsigned stackSize, unsigned(__stdcall* start)(void*), void* argument,
                         unsigned flags, unsigned* threadId);

// A pseudo handle that means the calling thread; it need not be closed.
HANDLE GetCurrentThread();

// The calling thread's identifier, unique among running threads.
DWORD GetCurrentThreadId();

// Blocks the calling thread; 0 yields, INFINITE never returns.
void Sleep(DWORD milliseconds);
