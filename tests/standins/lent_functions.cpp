// A device utility library whose functions are lent by the test that loads it: the first two arguments of a call are
// the address of a function in the same process, upper half first, the third is what that function is given.
#include <cstdint>

extern "C" {

std::int32_t InternalCallFuncMethod(std::uint32_t, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                                    std::uint32_t* result) {
  const auto address = static_cast<std::uintptr_t>(std::uint64_t{arg1} << 32 | arg2);
  *result = reinterpret_cast<std::uint32_t (*)(std::uint32_t)>(address)(arg3);
  return 1;
}

std::int32_t InternalBeginWaitNotification(void (*)(std::uint32_t, void*), void*) {
  return 0;
}
std::int32_t InternalCancelWaitNotification() {
  return 0;
}
std::int32_t InternalRegisterCallbackForNotification() {
  return 0;
}
std::int32_t InternalUnregisterCallbackForNotification() {
  return 0;
}
void* InternalGetCallbackForNotificationWorker() {
  return nullptr;
}

}  // extern "C"
