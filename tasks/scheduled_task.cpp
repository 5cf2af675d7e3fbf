#include "tasks/scheduled_task.h"

#include "common/format.h"
#include "common/handles.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Common::UniqueRegistryKey;

constexpr DWORD kNameCapacity = 200;

void RunWithOneRetry(TaskServicePointer& taskService, const WCHAR* taskName, const TaskParameters& parameters) {
  if (SUCCEEDED(RunScheduledTask(taskService.Get(), taskName, parameters))) return;
  if (SUCCEEDED(ConnectTaskService(taskService))) RunScheduledTask(taskService.Get(), taskName, parameters);
}

// The lists of one registry view; `view` is 0 or KEY_WOW64_32KEY.
void RunListedTasks(TaskServicePointer& taskService, const WCHAR* path, REGSAM view, const TaskParameters& parameters) {
  UniqueRegistryKey everyOccurrence;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | view, everyOccurrence.Receive()) != ERROR_SUCCESS) return;
  RunRegisteredTasks(taskService, everyOccurrence.Get(), parameters);
  UniqueRegistryKey oneData1;
  if (RegOpenKeyExW(everyOccurrence.Get(), parameters.data1.Get(), 0, KEY_READ | KEY_WRITE, oneData1.Receive()) !=
      ERROR_SUCCESS) {
    return;
  }
  RunRegisteredTasks(taskService, oneData1.Get(), parameters);
}

}  // namespace

void NotifyEventByScheduledTask(TaskServicePointer& taskService, std::uint32_t eventId, std::uint32_t data1,
                                std::uint32_t data2) {
  if (eventId == 0) return;
  if (!taskService && FAILED(ConnectTaskService(taskService))) return;
  WCHAR path[55];
  if (!Common::Format(path, W("Software\\Quorvex\\HKD04A7\\Events\\%u"), eventId)) return;
  const TaskParameters parameters = MakeTaskParameters(eventId, data1, data2);
  RunListedTasks(taskService, path, 0, parameters);
  RunListedTasks(taskService, path, KEY_WOW64_32KEY, parameters);
}

void RunRegisteredTasks(TaskServicePointer& taskService, HKEY list, const TaskParameters& parameters) {
  for (DWORD index = 0;; ++index) {
    WCHAR name[kNameCapacity];
    DWORD length = kNameCapacity;
    const LSTATUS code = RegEnumValueW(list, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    // A key that has been deleted answers every index alike.
    if (code == ERROR_NO_MORE_ITEMS || code == ERROR_KEY_DELETED) return;
    if (code == ERROR_SUCCESS) RunWithOneRetry(taskService, name, parameters);
  }
}

HRESULT RunScheduledTask(ITaskService* taskService, const WCHAR* taskName, const TaskParameters& parameters) {
  const TaskParameterArray values(parameters);
  if (taskName == nullptr) return E_INVALIDARG;
  Common::UniqueComPointer<ITaskFolder> root;
  HRESULT result = taskService->GetFolder(MakeBstr(W("\\")).Get(), root.Receive());
  if (FAILED(result)) return result;
  Common::UniqueComPointer<IRegisteredTask> task;
  result = root.Get()->GetTask(MakeBstr(taskName).Get(), task.Receive());
  if (FAILED(result)) return result;
  Common::UniqueComPointer<IRunningTask> running;
  result = task.Get()->RunEx(values.Variant(), TASK_RUN_IGNORE_CONSTRAINTS, 0, nullptr, running.Receive());
  return FAILED(result) ? result : S_OK;
}

}  // namespace Quorvex::PC::Hkd04a7
