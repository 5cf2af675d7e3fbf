#include "tools/machine_control.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/link/machine_link.h"
#include "tools/child_process.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/report.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr const char* kControlManager = "the service control manager";
constexpr unsigned kAutomaticStart = 2;
constexpr unsigned kStopped = 1;
constexpr std::chrono::seconds kDaemonPatience{20};
constexpr std::chrono::seconds kServicePatience{60};
constexpr std::chrono::seconds kSettlePatience{30};
constexpr std::chrono::seconds kReadyPatience{5};

json Named(const char* op) {
  return json{{"op", op}, {"name", kServiceName}};
}

int ConfigureService(const Options& options) {
  const std::string program = ProgramFolder() + "/hkd04a7-service";
  json create = Named("service.create");
  create["displayName"] = kServiceDisplayName;
  create["program"] = program;
  create["arguments"] = json::array({"-service"});
  create["startType"] = kAutomaticStart;
  const MachineRequest request{"configure the service " + program, kControlManager, "hkd04a7ctl status"};
  return CallMachine(options, request, create, nullptr);
}

// The control manager's answer without a report: the caller decides what it means.
DWORD AskForService(json* service) {
  return host::MachineLink::Instance().Call(Named("service.query"), service);
}

// The wake check at the end of the start is what signals the event; a service that is still registering with its device
// is at home to clients, though.
bool StartIsOver() {
  json service, status;
  if (AskForService(&service) != ERROR_SUCCESS || service.value("state", kStopped) == kStopped) return true;
  if (host::MachineLink::Instance().Call(json{{"op", "machine.status"}}, &status) != ERROR_SUCCESS) return true;
  const json events = status.value("events", json::array());
  return std::any_of(events.begin(), events.end(), [](const json& event) {
    return event.value("name", "").find("CompletedCheckWakeupEvent") != std::string::npos &&
           event.value("signalled", false);
  });
}

// A process that has ended but that its parent has not collected counts as gone.
bool ProcessIsGone(pid_t pid) {
  const auto process = host::ReadProcessStat(pid);
  return !process || process->state == 'Z';
}

}  // namespace

int StartMachine(const Options& options) {
  if (MachineIsUp()) return kDone;
  const std::string program = ProgramFolder() + "/hkd04a7-machine";
  ChildProcess daemon;
  if (const int error = daemon.Start(program, {}, ChildProcess::Reads::Nothing); error != 0)
    return Report(options, kFailed, {"start " + program, std::strerror(error), 0, "build the programs first"});
  // The program returns once the daemon behind it is up, or says itself why it is not.
  const auto ended = daemon.Wait(kDaemonPatience);
  if (!ended)
    return Report(options, kTimedOut, {"bring the machine up", program + " did not get ready in time", 0, ""});
  if (*ended == 0 && MachineIsUp()) return kDone;
  return Report(options, kFailed, {"bring the machine up", program + " ended with " + std::to_string(*ended), 0, ""});
}

int StopMachine(const Options& options) {
  json status;
  const MachineRequest request{"take the machine down", "the machine", "", kDaemonPatience};
  if (int code = CallMachine(options, request, json{{"op", "machine.status"}}, &status); code != kDone) return code;
  if (int code = CallMachine(options, request, json{{"op", "machine.down"}}, nullptr); code != kDone) return code;
  const auto pid = status.value("pid", pid_t{0});
  const auto deadline = std::chrono::steady_clock::now() + kDaemonPatience;
  while (!ProcessIsGone(pid)) {
    if (std::chrono::steady_clock::now() > deadline)
      return Report(options, kTimedOut, {request.tried, "process " + std::to_string(pid) + " is still there", 0, ""});
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  host::MachineLink::Reset();
  return kDone;
}

int EnsureService(const Options& options) {
  json service;
  const DWORD error = AskForService(&service);
  if (error == ERROR_SERVICE_DOES_NOT_EXIST) {
    if (int code = ConfigureService(options); code != kDone) return code;
    return StartService(options);
  }
  if (int code = QueryService(options, &service); code != kDone) return code;
  return service.at("state") == kStopped ? StartService(options) : kDone;
}

int StartService(const Options& options) {
  const MachineRequest request{"start the service", kControlManager, "hkd04a7ctl query; hkd04a7ctl log",
                               kServicePatience};
  return CallMachine(options, request, Named("service.start"), nullptr);
}

int StopService(const Options& options) {
  const MachineRequest request{"stop the service", kControlManager, "hkd04a7ctl query", kServicePatience};
  return CallMachine(options, request, Named("service.stop"), nullptr);
}

int QueryService(const Options& options, json* service) {
  const MachineRequest request{"query the service", kControlManager, "hkd04a7ctl up configures it", kServicePatience};
  return CallMachine(options, request, Named("service.query"), service);
}

int QueryHistory(const Options& options, json* history) {
  const MachineRequest request{"ask for the service's history", kControlManager, "hkd04a7ctl up configures it",
                               kServicePatience};
  json reply;
  const int code = CallMachine(options, request, Named("service.history"), &reply);
  if (code == kDone) *history = reply.at("history");
  return code;
}

int AwaitServiceReady(const Options& options) {
  const auto deadline = std::chrono::steady_clock::now() + kReadyPatience;
  while (!StartIsOver() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return Settle(options);
}

int Settle(const Options& options) {
  const MachineRequest request{"settle", "the machine", "hkd04a7ctl status", kSettlePatience};
  return CallMachine(options, request, json{{"op", "machine.settle"}}, nullptr);
}

}  // namespace tool
