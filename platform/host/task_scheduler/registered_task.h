// A task, and an instance of one.
#pragma once

#include <string>

#include "platform/host/task_scheduler/scheduler_link.h"
#include "platform/host/task_scheduler/task_object.h"

namespace host::task_scheduler {

class RunningTask final : public TaskObject<IRunningTask> {
 public:
  explicit RunningTask(const std::string& instance) : TaskObject(IID_IRunningTask), instance_(instance) {}
  HRESULT STDMETHODCALLTYPE get_InstanceGuid(BSTR* guid) override;

 private:
  const std::string instance_;
};

class RegisteredTask final : public TaskObject<IRegisteredTask> {
 public:
  RegisteredTask(Connection connection, const std::string& path)
      : TaskObject(IID_IRegisteredTask), connection_(connection), path_(path) {}
  HRESULT STDMETHODCALLTYPE RunEx(VARIANT params, LONG flags, LONG sessionId, BSTR user,
                                  IRunningTask** running) override;

 private:
  const Connection connection_;
  const std::string path_;
};

}  // namespace host::task_scheduler
