#include "platform/host/task_scheduler/scheduler_link.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "platform/host/link/machine_link.h"

namespace host::task_scheduler {

namespace {

constexpr DWORD kServerUnavailable = 1722;  // RPC_S_SERVER_UNAVAILABLE

}  // namespace

HRESULT AskScheduler(const char* operation, nlohmann::json body, nlohmann::json* reply) {
  body["op"] = operation;
  const DWORD error = MachineLink::Instance().Call(std::move(body), reply);
  return HRESULT_FROM_WIN32(error == ERROR_SERVICE_NOT_ACTIVE ? kServerUnavailable : error);
}

std::string ToText(BSTR text) {
  return text == nullptr ? std::string() : ToUtf8({text, SysStringLen(text)});
}

}  // namespace host::task_scheduler
