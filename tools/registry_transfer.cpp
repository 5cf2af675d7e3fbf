// reg export, reg import.
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "tools/exit_codes.h"
#include "tools/registry_commands.h"
#include "tools/registry_text.h"
#include "tools/report.h"

namespace tool {

int ExportRegistry(const Options& options, const std::string& path, REGSAM view, const std::string& file) {
  // All of it is read before an existing file is touched.
  std::ostringstream text;
  const LSTATUS status = WriteRegistryText(text, path, view);
  if (status != ERROR_SUCCESS) return ReportRegistry(options, "export " + path, status);
  std::ofstream target;
  if (!file.empty()) target.open(file, std::ios::trunc);
  std::ostream& out = file.empty() ? std::cout : target;
  out << text.str() << std::flush;
  return out ? kDone : Report(options, kFailed, {"export " + path, "not everything could be written", 0, ""});
}

int ImportRegistry(const Options& options, REGSAM view, const std::string& file) {
  const std::string tried = "import " + file;
  std::ifstream in(file);
  std::size_t badLine = 0;
  const auto lines = ReadRegistryText(in, &badLine);
  if (!lines) {
    const std::string number = std::to_string(badLine);
    return Report(options, kFailed, {tried, "line " + number + " is not understood; nothing was written", 0, ""});
  }
  std::string error;
  if (!host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error))
    return Report(options, kFailed, {tried, error, 0, ""});
  for (std::size_t i = 0; i < lines->size(); ++i) {
    const LSTATUS status = ApplyRegistryLine((*lines)[i], view);
    if (status != ERROR_SUCCESS)
      return ReportRegistry(options, tried, status, "lines before line " + std::to_string(i + 1) + " were written");
  }
  return kDone;
}

}  // namespace tool
