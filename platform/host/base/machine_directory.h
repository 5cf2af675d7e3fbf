// Which simulated machine this process belongs to.
//
// A machine is two folders: what a boot clears (runtime) and what survives it (state). The environment
// variable HKD04A7_MACHINE names both at once (DIR/run and DIR/state); every program the machine starts has it
// set. Without it: $XDG_RUNTIME_DIR/hkd04a7 and $XDG_STATE_HOME/hkd04a7, with the fallbacks told in docs/host.md.
#pragma once

#include <string>

namespace host {

struct MachineDirectory {
  std::string runtime;  // sockets, mappings, logs, volatile registry keys; cleared at boot
  std::string state;    // lasting registry hives, service configuration
};

// The machine of this process: the one given to UseMachineDirectory, else the environment's. Creates nothing.
MachineDirectory CurrentMachineDirectory();

// Makes `root` (DIR/run, DIR/state) the machine of this process and sets HKD04A7_MACHINE for its children and
// for libraries loaded later. `root` is not empty; one that is not absolute counts from the current folder. Call it
// before any other thread runs.
void UseMachineDirectory(const std::string& root);

// Creates both folders with mode 0700 where they are missing. False, with a message for people in `error`,
// when one cannot be made or an existing one belongs to someone else.
bool EnsureMachineDirectory(const MachineDirectory& directory, std::string* error);

}  // namespace host
