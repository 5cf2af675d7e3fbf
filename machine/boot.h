// What a boot clears.
#pragma once

#include <string>

#include "platform/host/base/machine_directory.h"

namespace machine {

// Removes what the last boot left in the runtime folder: sockets, published rows, volatile registry keys, loaded hives.
// The daemon's own socket and lock, the mappings and the logs stay, since processes may hold them. No
// process of the machine runs. False, with a sentence in `error`, when the registry cannot be cleared.
bool ClearRuntime(const host::MachineDirectory& directory, std::string* error);

// Makes the machine's device nodes present, after the clearing. False, with a sentence in `error`, when the registry
// refuses.
bool BootDevices(std::string* error);

// Removes the sockets of a machine that is down, before its lock is given up: nobody answers on them any more.
void RemoveSockets(const host::MachineDirectory& directory);

// Empties the logs, for a machine that comes up anew.
void EmptyLogs(const host::MachineDirectory& directory);

}  // namespace machine
