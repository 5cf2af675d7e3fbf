// The thread that calls back on device notifications; at most one wait at a time in a process.
#pragma once

#include <cstdint>
#include <mutex>
#include <thread>

#include "standins/utility/device_access.h"

using NotificationCallback = void (*)(std::uint32_t status, void* context);

class NotificationThread {
 public:
  NotificationThread() = default;
  // Ends a wait that was left. On Windows a program must cancel before it releases the library: threads cannot be
  // waited for while a library is being unloaded there.
  ~NotificationThread();
  NotificationThread(const NotificationThread&) = delete;
  NotificationThread& operator=(const NotificationThread&) = delete;

  // Calls `callback` on a thread of its own for each notification from now on. Answers 0 or the code of the failure:
  // kInvalidParameter without a callback, kAlreadyInitialized while a wait is registered, or the device's.
  std::uint32_t Begin(NotificationCallback callback, void* context);

  // Ends the wait; when it returns no callback is running, unless it was called by the callback itself. False when none
  // was registered.
  bool Cancel();

 private:
  struct Start;
  void Run(Start* start);

  std::mutex lock_;
  // Both guarded by lock_. The source lives on the thread's stack, as long as it is named here or cancelled under
  // lock_.
  NotificationSource* source_ = nullptr;
  std::thread thread_;
};
