// Exit codes of the tool, the same for every subcommand.
#pragma once

namespace tool {

constexpr int kDone = 0;
constexpr int kFailed = 1;             // refused or failed; the message has number and name of the code
constexpr int kUsage = 2;              // the command line was not understood
constexpr int kServiceNotRunning = 3;  // nobody serves the RPC interface, or the service is stopped
constexpr int kMachineNotUp = 4;       // no daemon answers for the machine
constexpr int kTimedOut = 124;
constexpr int kInterrupted = 130;

}  // namespace tool
