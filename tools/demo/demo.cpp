#include "tools/demo/demo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/host/base/text.h"
#include "tools/demo/demo_check.h"
#include "tools/demo/demo_people.h"
#include "tools/event_text.h"
#include "tools/exit_codes.h"
#include "tools/machine_control.h"
#include "tools/registry_access.h"
#include "tools/report.h"
#include "tools/service_text.h"
#include "tools/signals.h"

namespace tool {
namespace {

constexpr std::chrono::seconds kStepPatience{10};
constexpr const char* kClientNames[] = {"client A", "client B"};
constexpr const char* kWakeupKey = "HKLM\\Software\\Quorvex\\HKD04A7\\Wakeup";

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

StepCauses CausesSince(machine::Device& device, std::uint64_t first, std::int64_t begin) {
  StepCauses causes;
  causes.begin = begin;
  for (const machine::NotificationTimes& notification : device.Notifications(first))
    causes.notifications.push_back(static_cast<std::int64_t>(notification.raisedAt));
  return causes;
}

void PrintEvent(const CheckedEvent& checked, const std::vector<WatchClient*>& clients) {
  const ExpectedEvent& expected = checked.expected;
  std::printf("    %2u %-23s 0x%08X 0x%08X", static_cast<unsigned>(expected.id), EventSource(expected.id).c_str(),
              static_cast<unsigned>(expected.data1), static_cast<unsigned>(expected.data2));
  for (std::size_t i = 0; i < clients.size(); ++i) {
    const auto& seen = checked.seen[i];
    if (checked.milliseconds[i])
      std::printf("   %s %7.3f ms", clients[i]->Name().c_str(), *checked.milliseconds[i]);
    else if (seen)
      std::printf("   %s GOT %u 0x%X 0x%X", clients[i]->Name().c_str(), seen->id, seen->data1, seen->data2);
    else
      std::printf("   %s NOTHING", clients[i]->Name().c_str());
  }
  std::printf("\n");
}

}  // namespace

int Demo::Play(bool chosen) {
  NoteEveryInterrupt();
  if (int code = machine_.BringUp(chosen); code != kDone) return code;
  std::printf("machine up at %s, service running\n", machine_.Directory().c_str());
  if (int code = StartClients(); code != kDone) return code;
  DemoStage stage{options_, machine_.Device()};
  for (const DemoStep& step : DemoSteps()) {
    if (int code = PlayStep(step, stage); code != kDone) return code;
  }
  if (int code = StopWithWaitsPending(); code != kDone) return code;
  if (int code = ShowServiceHistory(); code != kDone) return code;
  return Verdict();
}

int Demo::StartClients() {
  for (const char* name : kClientNames) {
    WatchClient& client = *clients_.emplace_back(std::make_unique<WatchClient>(name));
    if (const int error = client.Start(); error != 0)
      return Report(options_, kFailed, {std::string("start ") + name, std::strerror(error), 0, ""});
    if (Interrupted()) return kInterrupted;
    if (!client.AwaitSubscribed(kStepPatience))
      return Report(options_, kFailed, {std::string("subscribe ") + name, "it did not get ready", 0, "hkd04a7ctl log"});
    std::printf("%s subscribed, process %d\n", name, static_cast<int>(client.Pid()));
  }
  return kDone;
}

int Demo::PlayStep(const DemoStep& step, DemoStage& stage) {
  std::printf("\n  %s\n", step.title);
  std::fflush(stdout);
  std::vector<WatchClient*> clients;
  for (const auto& client : clients_) clients.push_back(client.get());
  const std::uint64_t first = stage.device.Counts().notificationsRaised;
  if (step.followRoad) {
    if (int code = road_.Follow(options_, stage.device); code != kDone) return code;
  }
  const std::int64_t begin = Now();
  if (int code = step.act(stage); code != kDone) return code;
  for (WatchClient* client : clients) client->AwaitEvents(expected_ + step.events.size(), kStepPatience);
  if (Interrupted()) return kInterrupted;
  for (const CheckedEvent& checked :
       CheckStep(step, stage, CausesSince(stage.device, first, begin), clients, expected_)) {
    PrintEvent(checked, clients);
    right_ = right_ && checked.Right();
    for (const auto& time : checked.milliseconds) {
      if (time) milliseconds_.push_back(*time);
    }
  }
  expected_ += step.events.size();
  if (step.showWakeupRecord) ShowWakeupRecord();
  PlayRequests(step.requests);
  return Interrupted() ? kInterrupted : Rest(step);
}

// The task runs and the messages of the step's events are among what has to come to rest.
int Demo::Rest(const DemoStep& step) {
  if (int code = Settle(options_); code != kDone) return code;
  if (step.followRoad) right_ = road_.Show() && right_;
  return kDone;
}

void Demo::PlayRequests(const std::vector<DemoRequest>& requests) {
  for (const DemoRequest& request : requests) {
    if (Interrupted()) return;
    ++requests_;
    if (PlayRequest(request)) ++rightRequests_;
  }
}

void Demo::ShowWakeupRecord() {
  RegistryKey key;
  std::vector<RegistryKey::Named> values;
  if (key.Open(*ParseRegistryPath(kWakeupKey), KEY_READ) != 0 || key.ReadAll(&values) != 0) {
    std::printf("    wake-up record: MISSING\n");
    right_ = false;
    return;
  }
  std::printf("    wake-up record:");
  for (const auto& [name, value] : values)
    std::printf(" %s=%s", host::ToUtf8(name).c_str(), ValueWords(value)[0].c_str());
  std::printf("\n");
}

int Demo::StopWithWaitsPending() {
  std::printf("\n  stop, with both waits pending\n");
  std::fflush(stdout);
  if (int code = StopService(options_); code != kDone) return code;
  for (const auto& client : clients_) {
    const auto status = client->AwaitEnd(kStepPatience);
    std::printf("    %s ended: %s; exit code %d\n", client->Name().c_str(), client->EndReason().c_str(),
                status.value_or(-1));
    right_ = right_ && status == kServiceNotRunning;
  }
  CheckNothingElseCame();
  return Interrupted() ? kInterrupted : kDone;
}

void Demo::CheckNothingElseCame() {
  for (const auto& client : clients_) {
    if (client->Events().size() <= expected_) continue;
    std::printf("    %s got %zu events too many\n", client->Name().c_str(), client->Events().size() - expected_);
    right_ = false;
  }
}

int Demo::ShowServiceHistory() {
  nlohmann::json history;
  if (int code = QueryHistory(options_, &history); code != kDone) return code;
  std::printf("\n  the service, as its control manager saw it\n");
  for (const nlohmann::json& entry : history) std::printf("    %s\n", HistoryLine(entry).c_str());
  return kDone;
}

int Demo::Verdict() const {
  std::vector<double> sorted = milliseconds_;
  std::sort(sorted.begin(), sorted.end());
  std::printf("\n%zu of %zu events arrived in order at %zu clients", sorted.size(), expected_ * clients_.size(),
              clients_.size());
  if (!sorted.empty())
    std::printf("; from the notification to the client %.3f ms in the middle, %.3f ms at most",
                sorted[sorted.size() / 2], sorted.back());
  const bool right = right_ && rightRequests_ == requests_;
  std::printf("\n%zu of %zu requests were answered as expected\n%s\n", rightRequests_, requests_,
              right ? "everything as expected" : "NOT AS EXPECTED");
  std::fflush(stdout);
  return right ? kDone : kFailed;
}

int Demo::StayUp() {
  if (int code = StartService(options_); code != kDone) return code;
  const std::string program = ProgramFolder() + "/hkd04a7ctl";
  const std::string tool = program + " --machine " + machine_.Directory();
  std::printf(
      "\nThe service runs again; the machine stays up until Ctrl-C. Look at it from another terminal:\n"
      "  %s watch\n  %s press 3\n  %s status\n  %s log -f\n  %s run --package %s -- %s run-as-system %s 7\n",
      tool.c_str(), tool.c_str(), tool.c_str(), tool.c_str(), tool.c_str(), kDemoPackage, program.c_str(),
      kDemoCommand);
  std::fflush(stdout);
  while (!Interrupted()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return kInterrupted;
}

}  // namespace tool
