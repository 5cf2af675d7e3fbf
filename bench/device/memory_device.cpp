// A device utility library that answers from memory, so that what is measured is the road to the device and not the
// device.
#include <cstdint>

extern "C" {

std::int32_t InternalCallFuncMethod(std::uint32_t functionCode, std::uint32_t arg1, std::uint32_t arg2,
                                    std::uint32_t arg3, std::uint32_t* result) {
  *result = (functionCode ^ arg1 ^ arg2 ^ arg3) & 0x7FFFFFFFu;
  return 1;
}

// The device never notifies, so a wait for it need not be kept.
std::int32_t InternalBeginWaitNotification(void (*)(std::uint32_t, void*), void*) {
  return 1;
}
std::int32_t InternalCancelWaitNotification() {
  return 1;
}

// Looked up by everybody, called by nobody.
void InternalRegisterCallbackForNotification() {}
void InternalUnregisterCallbackForNotification() {}
void InternalGetCallbackForNotificationWorker() {}

}  // extern "C"
