// A folder of registered tasks.
#pragma once

#include <string>

#include "platform/host/task_scheduler/scheduler_link.h"
#include "platform/host/task_scheduler/task_object.h"

namespace host::task_scheduler {

class TaskFolder final : public TaskObject<ITaskFolder> {
 public:
  // `path` is "\" or empty for the root.
  TaskFolder(Connection connection, const std::string& path);
  HRESULT STDMETHODCALLTYPE GetTask(BSTR path, IRegisteredTask** task) override;

 private:
  const Connection connection_;
  const std::string prefix_;  // "Folder\", or empty
};

}  // namespace host::task_scheduler
