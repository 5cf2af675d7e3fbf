#include "device/hkd04a7_dll.h"

#include "common/entry_point_call.h"

namespace Quorvex::PC::Hkd04a7 {

using Common::CallEntryPoint;

bool CHkd04a7DllInternalAPI::CallFuncMethod(std::uint32_t functionCode, std::uint32_t arg1, std::uint32_t arg2,
                                            std::uint32_t arg3, std::uint32_t* result) const {
  return CallEntryPoint(entryPoints_.callFuncMethod, functionCode, arg1, arg2, arg3, result);
}

bool CHkd04a7DllInternalAPI::BeginWaitNotification(NotificationCallback callback, void* context) const {
  return CallEntryPoint(entryPoints_.beginWaitNotification, callback, context);
}

bool CHkd04a7DllInternalAPI::CancelWaitNotification() const {
  return CallEntryPoint(entryPoints_.cancelWaitNotification);
}

bool CHkd04a7DllInternalAPI::BindEntryPoints(HMODULE library) {
  using Common::FindEntryPoint;
  EntryPoints& to = entryPoints_;
  return FindEntryPoint(library, "InternalCallFuncMethod", to.callFuncMethod) &&
         FindEntryPoint(library, "InternalBeginWaitNotification", to.beginWaitNotification) &&
         FindEntryPoint(library, "InternalCancelWaitNotification", to.cancelWaitNotification) &&
         FindEntryPoint(library, "InternalRegisterCallbackForNotification", to.registerCallbackForNotification) &&
         FindEntryPoint(library, "InternalUnregisterCallbackForNotification", to.unregisterCallbackForNotification) &&
         FindEntryPoint(library, "InternalGetCallbackForNotificationWorker", to.getCallbackForNotificationWorker);
}

void CHkd04a7DllInternalAPI::ClearEntryPoints() {
  entryPoints_ = {};
}

}  // namespace Quorvex::PC::Hkd04a7
