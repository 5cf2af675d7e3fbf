// Events and waiting.
#pragma once

#include "platform/host/base/access_rights.h"
#include "platform/host/base/types.h"

#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS 0x001F0003u

#define WAIT_OBJECT_0 0u
#define WAIT_FAILED 0xFFFFFFFFu
#ifndef WAIT_TIMEOUT
#define WAIT_TIMEOUT 258u
#endif

// Creates an event with all access. A named event ("Global\..." or "Local\...") is shared by the processes of the
// machine; if one of that name exists, the handle is to that one, nothing about it changes and the last error is
// ERROR_ALREADY_EXISTS (183), else 0. Only the name, manualReset and the descriptor of `attributes` count; inheritance
// is not supported. Null on failure: 3 or 206 for a bad name, 5 when an existing event does not grant the caller all
// access, 1062 when a named event is asked for and the machine is not up.
HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState, LPCWSTR name);

// Opens an existing named event for `access`. Null on failure: 87 without a name, 2 when there is none of that name,
// 5 when its descriptor does not grant the access.
HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);

// FALSE on failure: 6 for a handle that is no event, 5 for one without EVENT_MODIFY_STATE.
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// Waits up to `milliseconds` (0 tests, INFINITE waits without end) for an event or the end of a thread. WAIT_OBJECT_0,
// WAIT_TIMEOUT, or WAIT_FAILED with the last error 6 or 5 (no SYNCHRONIZE).
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
