#include "service/log_switch.h"

#include "common/handles.h"
#include "service/registry_paths.h"

namespace Quorvex::PC::Hkd04a7 {

bool ReadLogSwitch() {
  Common::UniqueRegistryKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, Service::kProductKey, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS)
    return false;
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LSTATUS status =
      RegQueryValueExW(key.Get(), Service::kEnableLogValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  return status == ERROR_SUCCESS && type == REG_DWORD && value != 0;
}

}  // namespace Quorvex::PC::Hkd04a7
