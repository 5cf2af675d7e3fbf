// The scheduler's first object, and the root folder that it leads to.
#pragma once

#include <optional>
#include <string>

#include "platform/host/task_scheduler/scheduler_link.h"
#include "platform/host/task_scheduler/task_object.h"

namespace host::task_scheduler {

class TaskService final : public TaskObject<ITaskService> {
 public:
  TaskService() : TaskObject(IID_ITaskService) {}
  HRESULT STDMETHODCALLTYPE GetFolder(BSTR path, ITaskFolder** folder) override;
  HRESULT STDMETHODCALLTYPE Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) override;

 private:
  std::optional<Connection> connection_;
};

}  // namespace host::task_scheduler
