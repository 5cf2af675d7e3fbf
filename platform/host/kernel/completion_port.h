// I/O completion ports, as queues of packets that the program posts itself.
#pragma once

#include "platform/host/base/types.h"

struct OVERLAPPED;  // never looked into: posted packets carry the pointer as it is
using LPOVERLAPPED = OVERLAPPED*;

// A new port associated with no file: `file` is INVALID_HANDLE_VALUE (anything else is not supported), `existingPort`
// null (else null with 87), `key` ignored, `threads` a hint that is not used. Null on failure.
HANDLE CreateIoCompletionPort(HANDLE file, HANDLE existingPort, ULONG_PTR key, DWORD threads);

// Queues one packet with the three values as they stand. FALSE with 6 for a handle that is no port.
BOOL PostQueuedCompletionStatus(HANDLE port, DWORD bytes, ULONG_PTR key, LPOVERLAPPED overlapped);

// Takes the oldest packet, waiting up to `milliseconds` (INFINITE: without end). FALSE with *overlapped null and
// nothing else stored: WAIT_TIMEOUT (258), or ERROR_ABANDONED_WAIT_0 (735) when the port is closed while waiting.
BOOL GetQueuedCompletionStatus(HANDLE port, LPDWORD bytes, ULONG_PTR* key, LPOVERLAPPED* overlapped,
                               DWORD milliseconds);
