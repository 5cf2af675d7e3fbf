#include "service/install_location.h"

#include "common/handles.h"
#include "common/module_path.h"
#include "service/registry_paths.h"
#include "service/version_guard.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

bool IsPublished(const WCHAR* directory) {
  Common::PathBuffer published;
  DWORD size = sizeof(published);
  const LSTATUS status =
      RegGetValueW(HKEY_LOCAL_MACHINE, kProductKey, kInstPathValue, RRF_RT_REG_SZ, nullptr, published, &size);
  return WideStringView(directory) == (status == ERROR_SUCCESS ? published : W(""));
}

bool OpenView(REGSAM view, Common::UniqueRegistryKey& key) {
  return RegCreateKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE | view,
                         nullptr, key.Receive(), nullptr) == ERROR_SUCCESS;
}

bool SetText(const Common::UniqueRegistryKey& key, const WCHAR* name, WideStringView text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
  return RegSetValueExW(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()), bytes) == ERROR_SUCCESS;
}

}  // namespace

void RegisterInstallLocation() {
  if (HasInstalledVersion()) return;
  Common::PathBuffer directory;
  if (!Common::GetModuleDirectory(directory) || IsPublished(directory)) return;
  Common::UniqueRegistryKey view32;
  if (!OpenView(KEY_WOW64_32KEY, view32)) return;
  if (!SetText(view32, kInstPathValue, directory)) return;
  if (!SetText(view32, kDllNameValue, W("hkd04a7-utility-x86.dll"))) return;
  Common::UniqueRegistryKey view64;
  if (!OpenView(0, view64)) return;
  // "InstPath" last: it is what a later start compares to see whether anything is left to do.
  if (SetText(view64, kDllNameValue, W("hkd04a7-utility.dll"))) SetText(view64, kInstPathValue, directory);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
