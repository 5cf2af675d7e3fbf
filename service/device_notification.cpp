#include "service/device_notification.h"

#include "platform/completion_port.h"
#include "service/completion_key.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr DWORD kRetryMilliseconds = 1000;

bool PacketArrivesWithin(HANDLE port, DWORD milliseconds) {
  DWORD byteCount = 0;
  ULONG_PTR key = 0;
  OVERLAPPED* overlapped = nullptr;
  return GetQueuedCompletionStatus(port, &byteCount, &key, &overlapped, milliseconds) != FALSE;
}

}  // namespace

void CALLBACK Hkd04a7NotificationCallback(std::uint32_t completionStatus, void* context) {
  if (completionStatus != 0) return DebugLog(W("Hkd04a7NotificationCallback io error\n"));
  if (context == nullptr) return DebugLog(W("Hkd04a7NotificationCallback ctx error\n"));
  PostPacket(context, CompletionKey::DeviceNotification);
}

bool RegisterWithDevice(CServiceHost& host, CServiceContext& context) {
  const HANDLE port = host.completionPort;
  while (!context.deviceDll.BeginWaitNotification(&Hkd04a7NotificationCallback, port)) {
    DebugLog(W("hkd04a7 -service - fail register event\n"));
    context.deviceDll.CancelWaitNotification();
    if (PacketArrivesWithin(port, kRetryMilliseconds)) return false;
  }
  return true;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
