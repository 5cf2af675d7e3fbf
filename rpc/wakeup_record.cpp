#include "rpc/wakeup_record.h"

#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr const WCHAR* kParentKey = W("Software\\Quorvex\\HKD04A7");
constexpr const WCHAR* kRecordKey = W("Wakeup");
constexpr const WCHAR* kCounterValue = W("WrittenWakeupHistoryCounter");

// The record's key with the parent it was opened under.
class WakeupRecord {
 public:
  bool Open() {
    return OpenParent() && RegCreateKeyExW(parent_.Get(), kRecordKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                                           nullptr, record_.Receive(), nullptr) == ERROR_SUCCESS;
  }

  // A failing write is not reported.
  void Write(const WCHAR* name, std::uint32_t value) {
    RegSetValueExW(record_.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
  }

  // One more than the counter kept so far, wrapping to 0; 0 when there is none.
  std::uint32_t NextCounter() {
    std::uint32_t counter = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(counter);
    const LSTATUS status =
        RegQueryValueExW(record_.Get(), kCounterValue, nullptr, &type, reinterpret_cast<BYTE*>(&counter), &size);
    return status == ERROR_SUCCESS && type == REG_DWORD ? counter + 1 : 0;
  }

 private:
  bool OpenParent() {
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kParentKey, 0, KEY_ALL_ACCESS, parent_.Receive()) == ERROR_SUCCESS)
      return true;
    return RegCreateKeyExW(HKEY_LOCAL_MACHINE, kParentKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                           parent_.Receive(), nullptr) == ERROR_SUCCESS;
  }

  Common::UniqueRegistryKey parent_;
  Common::UniqueRegistryKey record_;
};

}  // namespace

void WriteWakeupButtonRecord(std::uint32_t word) {
  const WakeupButtonInfo info = DecodeWakeupButton(word);
  WakeupRecord record;
  if (!record.Open()) return;
  const std::uint32_t counter = record.NextCounter();
  record.Write(W("WrittenWakeupEvent"), 1);
  record.Write(kWakeupOnetouchButtonInfoValue, info.oneTouch);
  record.Write(W("WakeupIrOpeButtonInfo"), info.irOpe);
  record.Write(kCounterValue, counter);
}

void WriteWakeupSwitchRecord(std::int32_t word) {
  WakeupRecord record;
  if (!record.Open()) return;
  record.Write(W("WrittenWakeupSwitchEvent"), 1);
  record.Write(kWakeupSwitchInfoValue, word < 0 ? 0 : static_cast<std::uint32_t>(word));
}

}  // namespace Quorvex::PC::Hkd04a7::Service
