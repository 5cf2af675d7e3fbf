// The exports of the device utility library. What lies behind them on a real machine is another product's; these keep
// the names, the arguments and the results.
#include <cstdint>

#include "standins/last_error.h"
#include "standins/utility/device_access.h"
#include "standins/utility/notification_thread.h"

namespace {

NotificationThread g_notificationThread;

// The form of most exports' results: 1, or 0 with the code as the calling thread's last error.
std::int32_t Result(std::uint32_t code) {
  if (code == 0) return 1;
  LeaveLastError(code);
  return 0;
}

}  // namespace

extern "C" {

// On failure `*result` is what the device put there, or unchanged when there is none.
std::int32_t InternalCallFuncMethod(std::uint32_t functionCode, std::uint32_t arg1, std::uint32_t arg2,
                                    std::uint32_t arg3, std::uint32_t* result) {
  if (result == nullptr) return Result(kInvalidParameter);
  return Result(CallDevice(functionCode, arg1, arg2, arg3, result));
}

std::int32_t InternalBeginWaitNotification(NotificationCallback callback, void* context) {
  return Result(g_notificationThread.Begin(callback, context));
}

std::int32_t InternalCancelWaitNotification() {
  return Result(g_notificationThread.Cancel() ? 0 : kInvalidParameter);
}

// Nobody calls the other three; what they would be given is not known here, so they refuse.
std::int32_t InternalRegisterCallbackForNotification() {
  return Result(kCallNotImplemented);
}

std::int32_t InternalUnregisterCallbackForNotification() {
  return Result(kCallNotImplemented);
}

void* InternalGetCallbackForNotificationWorker() {
  LeaveLastError(kCallNotImplemented);
  return nullptr;
}

}  // extern "C"
