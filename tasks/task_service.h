// The connection to the platform's Task Scheduler.
#pragma once

#include "common/com_pointer.h"
#include "platform/task_scheduler.h"

namespace Quorvex::PC::Hkd04a7 {

using TaskServicePointer = Common::UniqueComPointer<ITaskService>;

// Connects to the local machine's Task Scheduler with the service's own account. On success the new connection takes
// the place of the one that `taskService` holds, which is released; on failure `taskService` is as it was, and the
// result is that of the failing call. Worker's thread, which has joined the multithreaded apartment.
HRESULT ConnectTaskService(TaskServicePointer& taskService);

}  // namespace Quorvex::PC::Hkd04a7
