// The packets of the worker's completion port, the only queue of the service.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

enum class CompletionKey : ULONG_PTR {
  Stop = 1,                // a stop request
  WakeCheck = 2,           // a resume from sleep; at start posted by the worker itself
  SessionChange = 3,       // byte count: the session-change event type; overlapped slot: the session id
  DeviceNotification = 4,  // the device has something pending
};

// Puts a packet into `port`. A failure is ignored: there is nobody to tell, and a port that is not there yet has no
// worker behind it.
void PostPacket(HANDLE port, CompletionKey key, DWORD byteCount = 0, ULONG_PTR overlappedSlot = 0);

}  // namespace Quorvex::PC::Hkd04a7::Service
