#include "machine/service.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/service_controls.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

// The manager stops waiting for a handler after this time, but sends nothing else before it has answered.
constexpr std::chrono::seconds kHandlerLimit{30};

// The bit of the accepted controls that `control` needs; 0 when it is always sent, all bits when it never is.
DWORD AcceptBit(DWORD control) {
  switch (control) {
    case kControlStop:
      return 0x01;
    case kControlPause:
    case kControlContinue:
      return 0x02;
    case kControlShutdown:
      return 0x04;
    case kControlPowerEvent:
      return 0x40;
    case kControlSessionChange:
      return 0x80;
    case kControlInterrogate:
      return 0;
    default:
      return control >= 128 && control <= 255 ? 0 : ~DWORD{0};
  }
}

bool IsNotice(DWORD control) {
  return control == kControlPowerEvent || control == kControlSessionChange;
}

}  // namespace

json ToJson(const ServiceStatus& status) {
  return json{{"state", status.state},
              {"controlsAccepted", status.controlsAccepted},
              {"win32ExitCode", status.win32ExitCode},
              {"serviceSpecificExitCode", status.serviceSpecificExitCode},
              {"checkPoint", status.checkPoint},
              {"waitHint", status.waitHint}};
}

ServiceStatus ReadStatus(const json& value) {
  ServiceStatus status;
  status.state = value.at("state").get<DWORD>();
  status.controlsAccepted = value.at("controlsAccepted").get<DWORD>();
  status.win32ExitCode = value.at("win32ExitCode").get<DWORD>();
  status.serviceSpecificExitCode = value.at("serviceSpecificExitCode").get<DWORD>();
  status.checkPoint = value.at("checkPoint").get<DWORD>();
  status.waitHint = value.at("waitHint").get<DWORD>();
  return status;
}

DWORD Refusal(const ServiceStatus& status, DWORD control) {
  if (status.state == kStopped) return ERROR_SERVICE_NOT_ACTIVE;
  const DWORD bit = AcceptBit(control);
  if (status.state == kStopPending) return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  // A service that starts can be told to stop, and hears of power and sessions; nothing else.
  if (status.state == kStartPending && control != kControlStop && !IsNotice(control))
    return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  if ((status.controlsAccepted & bit) == bit) return ERROR_SUCCESS;
  return status.state == kStartPending ? ERROR_SERVICE_CANNOT_ACCEPT_CTRL : ERROR_INVALID_SERVICE_CONTROL;
}

Service::~Service() {
  loop_.Cancel(startTimer);
  if (current_) loop_.Cancel(current_->timer);
}

void Service::QueueControl(ServiceControl control) {
  queue_.push_back(std::move(control));
  SendNext();
}

void Service::SendNext() {
  while (!current_ && !queue_.empty()) {
    ServiceControl next = std::move(queue_.front());
    queue_.pop_front();
    const DWORD refusal = Refusal(status, next.control);
    if (refusal != ERROR_SUCCESS) {
      if (next.done) next.done(refusal, false);
    } else {
      Send(std::move(next));
    }
  }
}

void Service::Send(ServiceControl control) {
  const auto connection = dispatcher.lock();
  if (connection == nullptr || !connection->open()) {
    if (control.done) control.done(ERROR_PROCESS_ABORTED, false);
    return;
  }
  const std::uint64_t number = nextNumber_++;
  connection->Send(json{{"event", "service.control"},
                        {"instance", instance},
                        {"number", number},
                        {"control", control.control},
                        {"eventType", control.eventType},
                        {"session", control.session}});
  current_ = std::make_unique<Current>();
  current_->control = std::move(control);
  current_->number = number;
  current_->sent = Clock::now();
  current_->timer = loop_.After(kHandlerLimit, [this] { HandleTimeout(); });
}

bool Service::AnswerControl(std::uint64_t number, DWORD result) {
  if (!current_ || current_->number != number) return false;
  const std::unique_ptr<Current> answered = std::move(current_);
  loop_.Cancel(answered->timer);
  const ServiceControl& control = answered->control;
  history.Add("control", json{{"control", control.control},
                              {"eventType", control.eventType},
                              {"session", control.session},
                              {"result", result}});
  if (control.done) control.done(result, true);
  SendNext();
  return true;
}

void Service::FailControls(DWORD code) {
  std::deque<ServiceControl> failing;
  failing.swap(queue_);
  const std::unique_ptr<Current> current = std::move(current_);
  if (current) {
    loop_.Cancel(current->timer);
    if (current->control.done) current->control.done(code, true);
  }
  for (const ServiceControl& control : failing) {
    if (control.done) control.done(code, false);
  }
}

json Service::CurrentControl() const {
  if (!current_) return nullptr;
  const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - current_->sent);
  return json{{"control", current_->control.control},
              {"eventType", current_->control.eventType},
              {"forMs", since.count()},
              {"queued", queue_.size()}};
}

void Service::HandleTimeout() {
  history.Add("error", json{{"text", "the control handler did not answer within 30 seconds"},
                            {"control", current_->control.control}});
  if (const auto done = std::exchange(current_->control.done, nullptr)) done(ERROR_SERVICE_REQUEST_TIMEOUT, true);
  std::deque<ServiceControl> failing;
  failing.swap(queue_);
  for (const ServiceControl& control : failing) {
    if (control.done) control.done(ERROR_SERVICE_REQUEST_TIMEOUT, false);
  }
}

}  // namespace machine
