#include "machine/power.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "machine/service_controls.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kSuspend = 4;
constexpr DWORD kResumeCritical = 6;
constexpr DWORD kResumeSuspend = 7;
constexpr DWORD kResumeAutomatic = 18;

bool IsResume(DWORD type) {
  return type == kResumeCritical || type == kResumeSuspend || type == kResumeAutomatic;
}

}  // namespace

void Power::AddOperations(OpRegistry& operations) {
  operations.Add("power.suspend", [this](const Request& request) {
    suspended_ = true;
    Tell({kSuspend}, request.responder);
  });
  operations.Add("power.resume", [this](const Request& request) { Resume(request); });
}

void Power::Resume(const Request& request) {
  const auto notifications = request.body.value("notifications", std::vector<DWORD>{kResumeAutomatic, kResumeSuspend});
  if (!std::all_of(notifications.begin(), notifications.end(), IsResume))
    return request.responder.Fail(ERROR_INVALID_PARAMETER, "the resume notifications are 6, 7 and 18");
  suspended_ = false;
  Tell(notifications, request.responder);
}

void Power::Tell(std::vector<DWORD> eventTypes, const Responder& responder) {
  std::vector<ServiceNotice> notices;
  for (const DWORD type : eventTypes) notices.push_back({kControlPowerEvent, type, 0});
  services_.notices().Send(std::move(notices), [responder](json delivered) {
    responder.Reply(json{{"delivered", std::move(delivered)}});
  });
}

}  // namespace machine
