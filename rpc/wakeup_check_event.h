// The named event that tells whether the wake check after the last start or resume has finished.
#pragma once

#include <atomic>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

inline constexpr const WCHAR* kCompletedCheckWakeupEvent =
    W("Global\\HKD04A7-CompletedCheckWakeupEvent-{275437DD-CCA9-41CD-B600-E7A72B110824}");

// Creates the event, manual reset and not signalled, or takes the one there is, and stores its handle in `location`; a
// handle that was held there is closed. Everyone may wait on it, only the holder of this handle may set or reset it.
// Returns whether there is an event; false leaves the last error of the failing step and null in `location`.
bool CreateWakeupCheckEvent(std::atomic<HANDLE>& location);

// True when the event exists and is signalled. Callable from every thread; does not wait.
bool IsWakeupCheckCompleted();

}  // namespace Quorvex::PC::Hkd04a7::Service
