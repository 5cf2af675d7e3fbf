#include "tasks/task_service.h"

#include <utility>

#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {

HRESULT ConnectTaskService(TaskServicePointer& taskService) {
  TaskServicePointer created;
  HRESULT result =
      CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_ALL, IID_ITaskService, Common::ReceiveInterface(created));
  if (FAILED(result)) return result;
  VARIANT empty;
  VariantInit(&empty);
  result = created.Get()->Connect(empty, empty, empty, empty);
  if (SUCCEEDED(result)) taskService = std::move(created);
  return result;
}

}  // namespace Quorvex::PC::Hkd04a7
