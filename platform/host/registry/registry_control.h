// What the machine, the tool and tests need of the registry beside the platform's own calls.
//
// The lasting keys are `<state>/registry.db`, the volatile ones `<runtime>/registry-volatile.db`. Both are opened by
// each process itself on its first call, in the directory that CurrentMachineDirectory names then. Any thread may call.
#pragma once

#include <cstddef>
#include <string>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/types.h"

namespace host {

// Boot: removes every volatile key and unloads every user hive of the machine in `directory`. Other processes may have
// the registry open; their handles to volatile keys answer ERROR_KEY_DELETED afterwards. Returns a Win32 code.
LSTATUS ClearVolatileRegistry(const MachineDirectory& directory);

// Handles of this process that RegCloseKey has not yet closed.
std::size_t OpenRegistryKeyCount();

// Loads or unloads the hive of the user with the SID string `sid`; loading makes the hive where there is none. A path
// through a hive that is not loaded is not found; keys that are already open keep working. The hive of LocalSystem is
// always loaded. Returns a Win32 code.
LSTATUS SetHiveLoaded(const std::string& sid, bool loaded);
bool IsHiveLoaded(const std::string& sid);

// Closes this process's database connections, so that a test can remove or change its machine's directory. No registry
// call may be running; the next one opens them anew. Open key handles of the same machine stay valid.
void CloseRegistry();

}  // namespace host
