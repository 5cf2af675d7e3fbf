#include "platform/host/task_scheduler/registered_task.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "platform/host/base/journal.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"

namespace host::task_scheduler {

using nlohmann::json;

namespace {

// Those of a locked array.
class ArrayScope {
 public:
  explicit ArrayScope(SAFEARRAY* array) : array_(array), result_(SafeArrayLock(array)) {}
  ~ArrayScope() {
    if (SUCCEEDED(result_)) SafeArrayUnlock(array_);
  }
  ArrayScope(const ArrayScope&) = delete;
  ArrayScope& operator=(const ArrayScope&) = delete;

  HRESULT Result() const { return result_; }

 private:
  SAFEARRAY* const array_;
  const HRESULT result_;
};

HRESULT ReadArray(SAFEARRAY* array, std::vector<std::string>* arguments) {
  const ArrayScope locked(array);
  if (FAILED(locked.Result())) return locked.Result();
  const auto* texts = static_cast<const BSTR*>(array->pvData);
  for (ULONG at = 0; at < array->rgsabound[0].cElements; ++at) arguments->push_back(ToText(texts[at]));
  return S_OK;
}

HRESULT ReadParameters(const VARIANT& params, std::vector<std::string>* arguments) {
  switch (params.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return S_OK;
    case VT_BSTR:
      arguments->push_back(ToText(params.bstrVal));
      return S_OK;
    case VT_ARRAY | VT_BSTR:
      return ReadArray(params.parray, arguments);
    default:
      return E_INVALIDARG;
  }
}

// Answered without an error, and without a running task: the run log alone tells.
bool IsRefusedSilently(HRESULT result) {
  return result == SCHED_E_TASK_DISABLED || result == SCHED_E_START_ON_DEMAND;
}

std::string JournalText(const std::string& path, const std::vector<std::string>& arguments) {
  std::string text = "run " + path;
  for (const std::string& argument : arguments) text += ' ' + argument;
  return text;
}

}  // namespace

HRESULT RunningTask::get_InstanceGuid(BSTR* guid) {
  if (guid == nullptr) return E_POINTER;
  *guid = SysAllocString(ToUtf16(instance_).c_str());
  return *guid != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT RegisteredTask::RunEx(VARIANT params, LONG flags, LONG, BSTR user, IRunningTask** running) {
  if (running != nullptr) *running = nullptr;
  return Method("IRegisteredTask::RunEx", [&] {
    if ((flags & ~TASK_RUN_IGNORE_CONSTRAINTS) != 0) Unsupported("IRegisteredTask::RunEx", "flags other than 2");
    if (user != nullptr) Unsupported("IRegisteredTask::RunEx", "a user");
    const JournalEntry entry;
    std::vector<std::string> arguments;
    HRESULT result = ReadParameters(params, &arguments);
    if (FAILED(result)) return result;
    json reply;
    result =
        AskScheduler("task.run", json{{"connection", connection_}, {"path", path_}, {"arguments", arguments}}, &reply);
    if (entry.IsWanted()) entry.Write("task", JournalText(path_, arguments));
    if (IsRefusedSilently(result)) return S_OK;
    if (SUCCEEDED(result) && running != nullptr) *running = new RunningTask(reply.at("instance").get<std::string>());
    return result;
  });
}

}  // namespace host::task_scheduler
