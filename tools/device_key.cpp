#include "tools/device_key.h"

#include "platform/devices.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/registry_commands.h"
#include "tools/report.h"

namespace tool {
namespace {

constexpr const WCHAR* kDriverService = u"hkd04a7";
constexpr ULONG kPresentNodes = CM_GETIDLIST_FILTER_SERVICE | CM_GETIDLIST_FILTER_PRESENT | CM_GETIDLIST_DONOTGENERATE;
constexpr const char* kNodes = "HKLM\\System\\CurrentControlSet\\Enum\\";
constexpr const char* kClasses = "HKLM\\System\\CurrentControlSet\\Control\\Class\\";

// The first instance identifier of the list; empty when it names none.
std::string FirstPresentDevice() {
  ULONG length = 0;
  if (CM_Get_Device_ID_List_SizeW(&length, kDriverService, kPresentNodes) != CR_SUCCESS) return "";
  WideString list(length + 1, 0);
  if (CM_Get_Device_ID_ListW(kDriverService, list.data(), length, kPresentNodes) != CR_SUCCESS) return "";
  return host::ToUtf8(list.c_str());
}

}  // namespace

std::optional<std::string> DeviceKeyPath(std::string* error) {
  const std::string device = FirstPresentDevice();
  if (device.empty()) {
    *error = "no device of the driver service " + host::ToUtf8(kDriverService) + " is present";
    return std::nullopt;
  }
  RegistryKey node;
  RegistryValue driver;
  const std::string path = kNodes + device;
  LSTATUS status = node.Open(*ParseRegistryPath(path), KEY_READ);
  if (status == ERROR_SUCCESS) status = node.Read(host::ToUtf16("Driver"), &driver);
  if (status != ERROR_SUCCESS || driver.type != REG_SZ) {
    *error = "the device " + device + " has no driver (\"Driver\" of " + path + ")";
    return std::nullopt;
  }
  return kClasses + ValueWords(driver)[0];
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
