// The software key of the device: what decides which packages may run which commands as system.
#pragma once

#include <optional>
#include <string>

#include "tools/options.h"
#include "tools/registry_access.h"
#include "tools/software_key.h"

namespace tool {

// "HKLM\System\...", the software key of the first present device of the driver service, as the service finds it.
// Nothing, with a sentence in `error`, when there is no such device or it has no driver.
std::optional<std::string> DeviceKeyPath(std::string* error);

// Opens one of these tables for reading and writing; a missing one is made (`make`), or left unopened (`opened` false).
// Answers an exit code; a failure (the machine is not up, no device, the registry) has been reported as `tried`.
int OpenDeviceTable(const Options& options, const std::string& tried, const char* subKey, bool make, RegistryKey* key,
                    bool* opened);

}  // namespace tool
