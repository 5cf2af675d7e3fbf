// COM apartments: which kind the calling thread has joined, and how often.
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/base/unknown.h"

#define COINIT_MULTITHREADED 0x0u
#define COINIT_APARTMENTTHREADED 0x2u
#define COINIT_DISABLE_OLE1DDE 0x4u
#define COINIT_SPEED_OVER_MEMORY 0x8u

// Joins an apartment. S_OK the first time on this thread, S_FALSE when it already is in one of that kind, and
// RPC_E_CHANGED_MODE (0x80010106) when it is in one of the other. The first two are each undone by one CoUninitialize.
// E_INVALIDARG when `reserved` is not null.
HRESULT CoInitializeEx(LPVOID reserved, DWORD mode);

// Undoes one successful CoInitializeEx of this thread; more calls than that are ignored.
void CoUninitialize();

namespace host {

// Successful CoInitializeEx calls of the whole process that have not been undone, for leak checks.
int ComInitializations();

// Whether the calling thread may use COM: it has joined an apartment, or the process has the multithreaded one, which
// every thread without an apartment of its own is in.
bool IsInApartment();

}  // namespace host
