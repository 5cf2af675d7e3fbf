#include "tools/machine_call.h"

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "tools/deadline.h"
#include "tools/exit_codes.h"
#include "tools/report.h"

namespace tool {

using nlohmann::json;

namespace {

int ExitCodeFor(DWORD error) {
  switch (error) {
    case ERROR_SERVICE_NOT_ACTIVE:
      return kServiceNotRunning;
    case ERROR_TIMEOUT:
      return kTimedOut;
    default:
      return kFailed;
  }
}

}  // namespace

bool MachineIsUp() {
  return host::MachineLink::Instance().Call(json{{"op", "ping"}}, nullptr) == ERROR_SUCCESS;
}

int RequireMachine(const Options& options, const std::string& tried) {
  if (MachineIsUp()) return kDone;
  const std::string where = host::CurrentMachineDirectory().runtime;
  return Report(options, kMachineNotUp,
                {tried, "no machine is up at " + where, 0, "bring it up: hkd04a7ctl up (with the same --machine)"});
}

int CallMachine(const Options& options, const MachineRequest& request, const json& message, json* reply) {
  if (int code = RequireMachine(options, request.tried); code != kDone) return code;
  const Deadline deadline(request.patience, "hkd04a7ctl: could not " + request.tried + ": " + request.answered +
                                                " gave no answer in " + std::to_string(request.patience.count()) +
                                                " s\n  next: hkd04a7ctl status\n");
  json answer;
  const DWORD error = host::MachineLink::Instance().Call(message, &answer);
  if (reply != nullptr) *reply = answer;
  if (error == ERROR_SUCCESS) return kDone;
  std::string answered = request.answered;
  if (answer.is_object() && answer.contains("message")) answered += " (" + answer.value("message", "") + ")";
  const std::string next = error == ERROR_SERVICE_NOT_ACTIVE ? "hkd04a7ctl start" : request.next;
  return Report(options, ExitCodeFor(error), {request.tried, answered, error, next});
}

}  // namespace tool
