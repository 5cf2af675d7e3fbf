#include "rpc/wakeup_status.h"

#include "common/handles.h"
#include "platform/errors.h"
#include "rpc/wakeup_record.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr const WCHAR* kRecordPath = W("Software\\Quorvex\\HKD04A7\\Wakeup");

bool OpenRecord(Common::UniqueRegistryKey& key) {
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRecordPath, 0, KEY_READ, key.Receive()) == ERROR_SUCCESS ||
         RegOpenKeyExW(HKEY_CURRENT_USER, kRecordPath, 0, KEY_READ, key.Receive()) == ERROR_SUCCESS;
}

}  // namespace

bool ReadWakeupSwitchInfo(DWORD& info) {
  Common::UniqueRegistryKey key;
  if (!OpenRecord(key)) return false;
  DWORD value = 0;
  DWORD type = REG_NONE;
  DWORD size = sizeof(value);
  const LSTATUS status =
      RegQueryValueExW(key.Get(), kWakeupSwitchInfoValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  if (status != ERROR_SUCCESS || type != REG_DWORD) return false;
  info = value;
  return true;
}

bool ReadWakeupOnetouchButtonInfo(DWORD& info) {
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, kRecordPath, kWakeupOnetouchButtonInfoValue,
                                      RRF_RT_REG_DWORD | RRF_SUBKEY_WOW6464KEY, nullptr, &value, &size);
  if (status != ERROR_SUCCESS) {
    SetLastError(static_cast<DWORD>(status));
    return false;
  }
  info = value;
  return true;
}

HRESULT AnswerWakeupQuery(DWORD wakeupKind, WakeupInfoReader readSwitch, WakeupInfoReader readOnetouchButton,
                          DWORD& info) {
  info = 0;
  switch (wakeupKind) {
    case WakeupKind::Switch:
      return readSwitch(info) ? S_OK : E_FAIL;
    case WakeupKind::OnetouchButton:
      return readOnetouchButton(info) ? S_OK : E_FAIL;
    default:
      return E_INVALIDARG;
  }
}

}  // namespace Quorvex::PC::Hkd04a7::Service
