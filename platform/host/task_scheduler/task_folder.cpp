#include "platform/host/task_scheduler/task_folder.h"

#include <nlohmann/json.hpp>

#include "platform/host/task_scheduler/registered_task.h"

namespace host::task_scheduler {

using nlohmann::json;

namespace {

std::string WithoutRoot(const std::string& path) {
  return path.starts_with('\\') ? path.substr(1) : path;
}

std::string PrefixOf(const std::string& folder) {
  const std::string path = WithoutRoot(folder);
  return path.empty() ? path : path + '\\';
}

}  // namespace

TaskFolder::TaskFolder(Connection connection, const std::string& path)
    : TaskObject(IID_ITaskFolder), connection_(connection), prefix_(PrefixOf(path)) {}

HRESULT TaskFolder::GetTask(BSTR path, IRegisteredTask** task) {
  if (task == nullptr) return E_POINTER;
  *task = nullptr;
  return Method("ITaskFolder::GetTask", [&] {
    json reply;
    const std::string name = prefix_ + WithoutRoot(ToText(path));
    const HRESULT result = AskScheduler("task.find", json{{"connection", connection_}, {"path", name}}, &reply);
    if (SUCCEEDED(result)) *task = new RegisteredTask(connection_, reply.at("path").get<std::string>());
    return result;
  });
}

}  // namespace host::task_scheduler
