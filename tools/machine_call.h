// Requests to the daemon of the machine, with the tool's way of telling failures.
#pragma once

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/options.h"

namespace tool {

// Whether a daemon answers for the machine.
bool MachineIsUp();

// kDone, or kMachineNotUp after a report that names what was tried.
int RequireMachine(const Options& options, const std::string& tried);

struct MachineRequest {
  std::string tried;                     // "start the service", for the report
  std::string answered = "the machine";  // who answers, for the report
  std::string next;                      // what to do when it is refused
  std::chrono::seconds patience{0};      // 0: as long as it takes
};

// Sends `message` ({"op":...}) and waits for the answer, which goes to `reply` (may be null). kDone, or the exit code
// after a report: kMachineNotUp, kServiceNotRunning for 1062, kTimedOut for 1460, kFailed for any other code. Past the
// patience the process ends with kTimedOut and a message.
int CallMachine(const Options& options, const MachineRequest& request, const nlohmann::json& message,
                nlohmann::json* reply);

}  // namespace tool
