#include "machine/service_waits.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"

namespace machine {

namespace {

constexpr std::chrono::milliseconds kWaitsLookInterval{100};
// A pending service has at least this long to make progress, whatever its wait hint says.
constexpr std::chrono::milliseconds kShortestPatience{30'000};

nlohmann::json Answer(const Service& service) {
  nlohmann::json answer = ToJson(service.status);
  answer["pid"] = service.pid;
  return answer;
}

void AnswerEndedStart(const Service& service, const Responder& responder) {
  const ServiceStatus& status = service.status;
  if (status.win32ExitCode == ERROR_SUCCESS) return responder.Reply(Answer(service));
  std::string text = service.lastError.empty() ? "the service stopped while it started" : service.lastError;
  if (status.win32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR)
    text += ", service-specific exit code " + std::to_string(status.serviceSpecificExitCode);
  responder.Fail(status.win32ExitCode, text);
}

bool MakesNoProgress(const Service& service) {
  const std::chrono::milliseconds hint{service.status.waitHint};
  return Clock::now() - service.lastReport > std::max(hint, kShortestPatience);
}

}  // namespace

void ServiceWaits::Add(Service& service, Goal goal, std::chrono::milliseconds limit, Responder responder) {
  Wait wait{&service, goal, service.instance, std::nullopt, std::move(responder)};
  if (limit.count() > 0) wait.deadline = Clock::now() + limit;
  if (Settle(wait)) return;
  waits_.push_back(std::move(wait));
  if (timer_ == 0) timer_ = loop_.After(kWaitsLookInterval, [this] { LookAtAll(); });
}

void ServiceWaits::Look(const Service& service) {
  waits_.remove_if([&](const Wait& wait) { return wait.service == &service && Settle(wait); });
}

void ServiceWaits::Abandon(const Service& service, DWORD error) {
  waits_.remove_if([&](const Wait& wait) {
    if (wait.service != &service) return false;
    wait.responder.Fail(error, "the service has gone");
    return true;
  });
}

bool ServiceWaits::Settle(const Wait& wait) {
  const Service& service = *wait.service;
  const bool ended = service.status.state == kStopped || service.instance != wait.instance;
  if (ended && wait.goal == Goal::kStarted) {
    AnswerEndedStart(service, wait.responder);
    return true;
  }
  if (ended || (wait.goal == Goal::kStarted && service.status.state == kRunning)) {
    wait.responder.Reply(Answer(service));
    return true;
  }
  if ((wait.deadline && Clock::now() >= *wait.deadline) || MakesNoProgress(service)) {
    wait.responder.Fail(ERROR_SERVICE_REQUEST_TIMEOUT,
                        "the service is still in state " + std::to_string(service.status.state));
    return true;
  }
  return false;
}

void ServiceWaits::LookAtAll() {
  timer_ = 0;
  waits_.remove_if([](const Wait& wait) { return Settle(wait); });
  if (!waits_.empty()) timer_ = loop_.After(kWaitsLookInterval, [this] { LookAtAll(); });
}

}  // namespace machine
