// What several commands do with the machine and its service. Each answers an exit code, having reported a failure.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/options.h"
#include "tools/service_registration.h"

namespace tool {

// Starts the daemon beside the tool for the chosen machine and returns when it answers. Nothing to do when it is up.
int StartMachine(const Options& options);

// Ends the machine with all its processes and returns when the daemon is gone.
int StopMachine(const Options& options);

// Configures the service (automatic start, the program beside the tool) unless it is configured, and sees to it that it
// runs.
int EnsureService(const Options& options);

int StartService(const Options& options);
int StopService(const Options& options);

// The service as the control manager tells it: {"name","state","pid","program",...} and its history, oldest first.
int QueryService(const Options& options, nlohmann::json* service);
int QueryHistory(const Options& options, nlohmann::json* history);

// Returns when the service's start is over: its first wake check is done and nothing is outstanding, or it has stopped.
// A service that its device refuses is not waited for longer than some seconds.
int AwaitServiceReady(const Options& options);

// Returns when nothing is outstanding: notifications delivered and polled, controls answered.
int Settle(const Options& options);

}  // namespace tool
