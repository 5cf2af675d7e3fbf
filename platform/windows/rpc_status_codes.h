// Which structured exceptions are failures of an RPC call.
#pragma once

#include "platform/windows/sdk.h"

// Codes that RpcRaiseException is called with: statuses, faults that came unmapped, HRESULTs of the platform's errors.
// A processor exception, a breakpoint or a C++ exception is none and goes on to whoever handles it.
inline bool IsRpcStatus(DWORD code) {
  return (code & 0xE0000000) == 0 || (code & 0xFFFF0000) == 0x80070000;
}
