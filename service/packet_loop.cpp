#include "service/packet_loop.h"

#include "device/event_notify.h"
#include "device/event_polling.h"
#include "platform/completion_port.h"
#include "service/completion_key.h"
#include "service/debug_log.h"
#include "service/wake_check.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

struct Packet {
  CompletionKey key;
  DWORD byteCount;
  ULONG_PTR overlappedSlot;
};

bool WaitForPacket(HANDLE port, Packet& packet) {
  ULONG_PTR key = 0;
  OVERLAPPED* overlapped = nullptr;
  if (!GetQueuedCompletionStatus(port, &packet.byteCount, &key, &overlapped, INFINITE)) return false;
  packet.key = static_cast<CompletionKey>(key);
  packet.overlappedSlot = reinterpret_cast<ULONG_PTR>(overlapped);
  return true;
}

void OnStopRequest(CServiceContext& context) {
  DebugLog(W("hkd04a7 on stop request 1\n"));
  context.deviceDll.CancelWaitNotification();
  DebugLog(W("hkd04a7 on stop request 2\n"));
}

void OnSessionChange(CServiceContext& context, const Packet& packet) {
  NotifyEvent(context, EventId::SessionChange, packet.byteCount, static_cast<std::uint32_t>(packet.overlappedSlot));
}

}  // namespace

void ServePackets(CServiceHost& host, CServiceContext& context) {
  Packet packet{};
  while (WaitForPacket(host.completionPort, packet)) {
    switch (packet.key) {
      case CompletionKey::Stop:
        return OnStopRequest(context);
      case CompletionKey::WakeCheck:
        RunWakeCheck(host, context);
        break;
      case CompletionKey::SessionChange:
        OnSessionChange(context, packet);
        break;
      case CompletionKey::DeviceNotification:
        PollDeviceEvents(context);
        break;
    }
  }
}

}  // namespace Quorvex::PC::Hkd04a7::Service
