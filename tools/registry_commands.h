// What the files of the `reg` commands share.
#pragma once

#include <string>

#include "tools/options.h"
#include "tools/registry_path.h"

namespace tool {

// Reports a Win32 code of the registry calls; returns kFailed.
int ReportRegistry(const Options& options, const std::string& tried, LSTATUS status,
                   const std::string& next = "hkd04a7ctl reg list shows what is there");

// Deletes the key with everything below it. Returns the Win32 code.
LSTATUS DeleteTree(const RegistryPath& path, REGSAM view);

// Writes the key `path` and all below it to `file` (empty: standard output), as registry_text.h tells. Answers an exit
// code.
int ExportRegistry(const Options& options, const std::string& path, REGSAM view, const std::string& file);

// Reads such a file. Nothing is written unless every line can be understood. Answers an exit code.
int ImportRegistry(const Options& options, REGSAM view, const std::string& file);

}  // namespace tool
