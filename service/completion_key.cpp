#include "service/completion_key.h"

#include "platform/completion_port.h"

namespace Quorvex::PC::Hkd04a7::Service {

void PostPacket(HANDLE port, CompletionKey key, DWORD byteCount, ULONG_PTR overlappedSlot) {
  PostQueuedCompletionStatus(port, byteCount, static_cast<ULONG_PTR>(key),
                             reinterpret_cast<OVERLAPPED*>(overlappedSlot));
}

}  // namespace Quorvex::PC::Hkd04a7::Service
