// The tasks that are listed in the registry for an event, run with the event as their parameters.
//
// A task is listed by the name of a value, whose type and data do not matter, in the key of the event or in that key's
// subkey for one value of the first data word, in either registry view. Worker's thread, with no lock held; no task is
// waited for, and nothing is logged. Each function may throw AutomationFailure, an allocation failure, and leaves
// nothing behind then.
#pragma once

#include <cstdint>

#include "platform/registry.h"
#include "tasks/task_parameters.h"
#include "tasks/task_service.h"

namespace Quorvex::PC::Hkd04a7 {

// Runs every task listed for the event, in the 64-bit view and then in the 32-bit view; in each, those for every
// occurrence, then those for this `data1`. Connects `taskService` when it holds no connection; without one nothing is
// run. Event 0 has no tasks.
void NotifyEventByScheduledTask(TaskServicePointer& taskService, std::uint32_t eventId, std::uint32_t data1,
                                std::uint32_t data2);

// Runs every task listed in `list` (KEY_READ), in the order of the enumeration; names of 200 characters or more are
// skipped. A task that cannot be run is tried once more over a new connection, which `taskService` then holds.
void RunRegisteredTasks(TaskServicePointer& taskService, HKEY list, const TaskParameters& parameters);

// Asks the scheduler to run the task with this path relative to its root folder, whatever the task's conditions. S_OK,
// or the result of the call that failed; E_INVALIDARG for a null name.
HRESULT RunScheduledTask(ITaskService* taskService, const WCHAR* taskName, const TaskParameters& parameters);

}  // namespace Quorvex::PC::Hkd04a7
