// The version that the service looks at when it starts: "CurrentVersion" of its key in the machine's registry. Every
// function answers a Win32 code, 0 for success.
#pragma once

#include <optional>
#include <string>

#include "platform/types.h"

namespace tool {

// Nothing where there is no such value. A value that is no text counts, as an empty one.
DWORD ReadInstalledVersion(std::optional<std::string>* version);

// Makes the key where it is missing.
DWORD RecordInstalledVersion(const std::string& version);

// The value alone: the key and all else in it stay.
DWORD RemoveInstalledVersion();

}  // namespace tool
