// Binding of the device utility library.
#pragma once

#include <cstdint>

#include "common/dll_handle.h"
#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Called by the library on a thread of its own for each device notification.
using NotificationCallback = void(CALLBACK*)(std::uint32_t completionStatus, void* context);

class CHkd04a7DllInternalAPI : public Common::CDllHandle {
 public:
  // Each operation calls the entry point of the same name with the prefix "Internal" and returns whether that reported
  // success. False with last error 50 (ERROR_NOT_SUPPORTED) when the entry point is missing.
  bool CallFuncMethod(std::uint32_t functionCode, std::uint32_t arg1, std::uint32_t arg2, std::uint32_t arg3,
                      std::uint32_t* result) const;
  bool BeginWaitNotification(NotificationCallback callback, void* context) const;
  bool CancelWaitNotification() const;

 protected:
  bool BindEntryPoints(HMODULE library) override;
  void ClearEntryPoints() override;

 private:
  using CallFuncMethodFunction = std::int32_t(WINAPI*)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                                       std::uint32_t*);
  using BeginWaitNotificationFunction = std::int32_t(WINAPI*)(NotificationCallback, void*);
  using CancelWaitNotificationFunction = std::int32_t(WINAPI*)();
  // Exported by every usable library, never called from here.
  using UncalledFunction = void (*)();

  struct EntryPoints {
    CallFuncMethodFunction callFuncMethod = nullptr;
    BeginWaitNotificationFunction beginWaitNotification = nullptr;
    CancelWaitNotificationFunction cancelWaitNotification = nullptr;
    UncalledFunction registerCallbackForNotification = nullptr;
    UncalledFunction unregisterCallbackForNotification = nullptr;
    UncalledFunction getCallbackForNotificationWorker = nullptr;
  };
  EntryPoints entryPoints_;
};

}  // namespace Quorvex::PC::Hkd04a7
