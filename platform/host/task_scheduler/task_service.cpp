#include "platform/host/task_scheduler/task_service.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/unsupported.h"
#include "platform/host/task_scheduler/task_folder.h"

namespace host::task_scheduler {

using nlohmann::json;

HRESULT TaskService::Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) {
  return Method("ITaskService::Connect", [&] {
    for (const VARIANT& value : {server, user, domain, password})
      if (value.vt != VT_EMPTY)
        Unsupported("ITaskService::Connect", "another machine or account than the caller's own");
    json reply;
    const HRESULT result = AskScheduler("task.connect", json::object(), &reply);
    if (SUCCEEDED(result)) connection_ = reply.at("connection").get<Connection>();
    return result;
  });
}

HRESULT TaskService::GetFolder(BSTR path, ITaskFolder** folder) {
  if (folder == nullptr) return E_POINTER;
  *folder = nullptr;
  return Method("ITaskService::GetFolder", [&] {
    if (!connection_) return SCHED_E_SERVICE_NOT_RUNNING;
    const std::string name = ToText(path);
    const HRESULT result = AskScheduler("task.folder", json{{"connection", *connection_}, {"path", name}}, nullptr);
    if (SUCCEEDED(result)) *folder = new TaskFolder(*connection_, name);
    return result;
  });
}

}  // namespace host::task_scheduler
