#include "machine/app_service_host.h"

#include <unistd.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "platform/host/base/error_codes.h"

namespace machine {

using host::AppServiceOpening;
using nlohmann::json;

namespace {

constexpr std::chrono::seconds kStartLimit{10};
// What somebody who was told of a socket may take to connect to it.
constexpr std::chrono::seconds kConnectLimit{1};

}  // namespace

// Gone when nothing runs for it and nobody listens.
struct AppServiceHost::Instance {
  ProcessRequest program;
  std::uint64_t launch = 0;  // of the program that runs; 0: none does
  pid_t pid = 0;
  bool mayBeFollowed = false;  // it has listened or is being ended: who comes now gets a new program after it
  bool unwanted = false;       // to be ended as soon as it is a process
  std::optional<AppServiceListener> listener;
  Clock::time_point lastOpened;
  std::vector<Answer> waiting;
  Loop::TimerId limit = 0;  // of those who wait
};

AppServiceHost::AppServiceHost(Loop& loop, ProcessTable& processes) : loop_(loop), processes_(processes) {}

AppServiceHost::~AppServiceHost() {
  for (const auto& [target, instance] : instances_) loop_.Cancel(instance->limit);
}

void AppServiceHost::Open(const AppServiceTarget& target, const ProcessRequest& program, Answer answer) {
  if (down_) return answer(AppServiceOpening::kAppUnavailable, "the machine goes down");
  auto& instance = instances_[target];
  if (instance == nullptr) instance = std::make_unique<Instance>();
  instance->waiting.push_back(std::move(answer));
  if (instance->listener) {
    instance->lastOpened = Clock::now();
    const bool refuses = instance->listener->refuses;
    return AnswerWaiting(*instance, refuses ? AppServiceOpening::kAppServiceUnavailable : AppServiceOpening::kOpened,
                         refuses ? "it refuses the connection" : instance->listener->socket);
  }
  instance->program = program;
  if (instance->limit == 0) instance->limit = loop_.After(kStartLimit, [this, target] { HandleLimit(target); });
  if (instance->launch == 0) Launch(target, *instance);
}

void AppServiceHost::Launch(const AppServiceTarget& target, Instance& instance) {
  instance.launch = ++launches_;
  instance.mayBeFollowed = false;
  instance.unwanted = false;
  processes_.Launch(instance.program, Observe(target, instance.launch));
}

ProcessTable::Observer AppServiceHost::Observe(const AppServiceTarget& target, std::uint64_t launch) {
  ProcessTable::Observer observer;
  observer.entered = [this, target, launch](pid_t pid) {
    Instance* instance = Launched(target, launch);
    if (instance == nullptr) return;
    instance->pid = pid;
    if (instance->unwanted) loop_.Post([this, pid] { processes_.Terminate(pid); });
  };
  observer.started = [this, target, launch](DWORD error, const std::string& message) {
    if (error != ERROR_SUCCESS) HandleEnd(target, launch, message);
  };
  observer.ended = [this, target, launch](const ProcessEnd& end) {
    HandleEnd(target, launch, "its program ended before it listened, " + Describe(end));
  };
  return observer;
}

// Null when that launch is over.
AppServiceHost::Instance* AppServiceHost::Launched(const AppServiceTarget& target, std::uint64_t launch) {
  const auto found = instances_.find(target);
  return found != instances_.end() && found->second->launch == launch ? found->second.get() : nullptr;
}

void AppServiceHost::HandleEnd(const AppServiceTarget& target, std::uint64_t launch, const std::string& reason) {
  Instance* instance = Launched(target, launch);
  if (instance == nullptr) return;
  instance->launch = 0;
  instance->pid = 0;
  if (!instance->listener) Retire(target, reason);
}

void AppServiceHost::HandleLimit(const AppServiceTarget& target) {
  Instance& instance = *instances_.at(target);
  instance.limit = 0;
  AnswerWaiting(instance, AppServiceOpening::kAppUnavailable, "its program did not listen in time");
  Terminate(instance);
}

// Nothing runs and nobody listens. Who came while the last one was on its way out gets a new one.
void AppServiceHost::Retire(const AppServiceTarget& target, const std::string& reason) {
  Instance& instance = *instances_.at(target);
  if (!instance.waiting.empty() && instance.mayBeFollowed && !down_) return Launch(target, instance);
  AnswerWaiting(instance, AppServiceOpening::kAppUnavailable, reason);
  instances_.erase(target);
}

void AppServiceHost::AnswerWaiting(Instance& instance, AppServiceOpening status, const std::string& text) {
  loop_.Cancel(std::exchange(instance.limit, 0));
  for (const Answer& answer : std::exchange(instance.waiting, {})) answer(status, text);
}

bool AppServiceHost::Listen(const AppServiceTarget& target, const AppServiceListener& listener) {
  auto& instance = instances_[target];
  if (instance == nullptr) instance = std::make_unique<Instance>();
  if (instance->listener) return false;
  instance->listener = listener;
  instance->mayBeFollowed = true;
  if (instance->waiting.empty()) return true;
  instance->lastOpened = Clock::now();
  AnswerWaiting(*instance, listener.refuses ? AppServiceOpening::kAppServiceUnavailable : AppServiceOpening::kOpened,
                listener.refuses ? "it refuses the connection" : listener.socket);
  return true;
}

void AppServiceHost::Withdraw(const AppServiceTarget& target, std::uint64_t connection) {
  const auto found = instances_.find(target);
  if (found == instances_.end()) return;
  Instance& instance = *found->second;
  if (!instance.listener || instance.listener->connection != connection) return;
  unlink(instance.listener->socket.c_str());
  instance.listener.reset();
  if (instance.launch == 0) Retire(target, "");
}

bool AppServiceHost::Leave(const AppServiceTarget& target, std::uint64_t connection) {
  const auto found = instances_.find(target);
  if (found != instances_.end() && Clock::now() - found->second->lastOpened < kConnectLimit) return false;
  Withdraw(target, connection);
  return true;
}

void AppServiceHost::End(const std::function<bool(const AppServiceTarget&)>& concerned) {
  std::vector<AppServiceTarget> ending;
  for (const auto& [target, instance] : instances_) {
    if (concerned(target)) ending.push_back(target);
  }
  for (const AppServiceTarget& target : ending) EndInstance(target);
}

void AppServiceHost::EndInstance(const AppServiceTarget& target) {
  Instance& instance = *instances_.at(target);
  AnswerWaiting(instance, AppServiceOpening::kAppUnavailable, "its user or its package leaves");
  Terminate(instance);
  if (instance.listener) Withdraw(target, instance.listener->connection);
}

void AppServiceHost::Terminate(Instance& instance) {
  instance.mayBeFollowed = true;
  instance.unwanted = true;
  if (instance.pid != 0) processes_.Terminate(instance.pid);
  if (instance.listener && instance.listener->pid != instance.pid) processes_.Terminate(instance.listener->pid);
}

void AppServiceHost::ShutDown() {
  down_ = true;
  for (const auto& [target, instance] : instances_)
    AnswerWaiting(*instance, AppServiceOpening::kAppUnavailable, "the machine goes down");
}

json AppServiceHost::Report() const {
  json report = json::array();
  for (const auto& [target, instance] : instances_) {
    const bool listening = instance->listener.has_value();
    report.push_back(json{{"package", target.package},
                          {"service", target.service},
                          {"userSid", target.userSid},
                          {"session", target.session},
                          {"pid", listening ? instance->listener->pid : instance->pid},
                          {"listening", listening},
                          {"refuses", listening && instance->listener->refuses},
                          {"waiting", instance->waiting.size()}});
  }
  return report;
}

}  // namespace machine
