#include "platform/host/runtime/app_service_opening.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/link/machine_link.h"

namespace host::runtime {

using nlohmann::json;
using Runtime::AppServiceConnectionStatus;

namespace {

AppServiceConnectionStatus StatusOf(const json& answer) {
  const int status = answer.value("status", -1);
  const bool known = status >= 0 && status <= static_cast<int>(AppServiceConnectionStatus::AppServiceUnavailable);
  return known ? static_cast<AppServiceConnectionStatus>(status) : AppServiceConnectionStatus::Unknown;
}

}  // namespace

AppServiceOpened OpenAppService(const std::string& package, const std::string& service) {
  json answer;
  const DWORD code = MachineLink::Instance().Call(
      {{"op", "app.open"}, {"package", package}, {"service", service}, {"identity", ToJson(OwnToken())}}, &answer);
  if (code != ERROR_SUCCESS) return {HRESULT_FROM_WIN32(code), AppServiceConnectionStatus::Unknown, nullptr};
  AppServiceOpened opened{S_OK, StatusOf(answer), nullptr};
  if (opened.status != AppServiceConnectionStatus::Success) return opened;
  opened.channel = AppServiceChannel::Connect(answer.value("socket", ""));
  if (!opened.channel) opened.status = AppServiceConnectionStatus::AppUnavailable;  // it ended meanwhile
  return opened;
}

}  // namespace host::runtime
