#include "tools/windows/installed_version.h"

#include "common/handles.h"
#include "service/registry_paths.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

using Quorvex::PC::Common::UniqueRegistryKey;
using Quorvex::PC::Hkd04a7::Service::kCurrentVersionValue;
using Quorvex::PC::Hkd04a7::Service::kProductKey;

// The service is a 64-bit program and reads that view.
constexpr REGSAM kView = KEY_WOW64_64KEY;

bool IsMissing(LSTATUS status) {
  return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

}  // namespace

DWORD ReadInstalledVersion(std::optional<std::string>* version) {
  version->reset();
  UniqueRegistryKey key;
  LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, KEY_QUERY_VALUE | kView, key.Receive());
  if (IsMissing(status)) return ERROR_SUCCESS;
  if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
  WCHAR text[256] = {};
  DWORD size = sizeof text;
  status = RegGetValueW(key.Get(), nullptr, kCurrentVersionValue, RRF_RT_REG_SZ, nullptr, text, &size);
  if (IsMissing(status)) return ERROR_SUCCESS;
  *version = status == ERROR_SUCCESS ? ToNarrow(text) : "";
  return ERROR_SUCCESS;
}

DWORD RecordInstalledVersion(const std::string& version) {
  UniqueRegistryKey key;
  const LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_SET_VALUE | kView, nullptr, key.Receive(), nullptr);
  if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
  const WideString text = ToWide(version);
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
  return static_cast<DWORD>(
      RegSetValueExW(key.Get(), kCurrentVersionValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

DWORD RemoveInstalledVersion() {
  UniqueRegistryKey key;
  LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, KEY_SET_VALUE | kView, key.Receive());
  if (status == ERROR_SUCCESS) status = RegDeleteValueW(key.Get(), kCurrentVersionValue);
  return IsMissing(status) ? ERROR_SUCCESS : static_cast<DWORD>(status);
}

}  // namespace tool
