#include "tools/device_key.h"

#include "platform/host/base/error_codes.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/registry_commands.h"
#include "tools/report.h"
#include "tools/wide_text.h"

namespace tool {

std::optional<std::string> DeviceKeyPath(std::string* error) {
  const std::optional<WideString> key = FindSoftwareKey();
  if (key) return "HKLM\\" + ToNarrow(*key);
  *error = "no device of the driver service hkd04a7 is present, or it has no driver";
  return std::nullopt;
}

int OpenDeviceTable(const Options& options, const std::string& tried, const char* subKey, bool make, RegistryKey* key,
                    bool* opened) {
  // Which devices are present is a matter of the boot.
  if (int code = RequireMachine(options, tried); code != kDone) return code;
  std::string error;
  const auto softwareKey = DeviceKeyPath(&error);
  if (!softwareKey)
    return Report(options, kFailed, {tried, error, 0, "hkd04a7ctl reg list HKLM\\System\\CurrentControlSet\\Enum"});
  const RegistryPath path = *ParseRegistryPath(*softwareKey + "\\" + subKey);
  const LSTATUS status = make ? key->Create(path, KEY_ALL_ACCESS, false) : key->Open(path, KEY_ALL_ACCESS);
  *opened = status == ERROR_SUCCESS;
  const bool fine = *opened || (!make && status == ERROR_FILE_NOT_FOUND);
  return fine ? kDone : ReportRegistry(options, tried, status);
}

}  // namespace tool
