// The wake-up record: what woke the machine, kept in a volatile registry key until the next restart.
#pragma once

#include <cstdint>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Values of "Software\Quorvex\HKD04A7\Wakeup" under HKEY_LOCAL_MACHINE; all are REG_DWORD.
inline constexpr const WCHAR* kWakeupSwitchInfoValue = W("WakeupSwitchInfo");
inline constexpr const WCHAR* kWakeupOnetouchButtonInfoValue = W("WakeupOnetouchButtonInfo");

struct WakeupButtonInfo {
  std::uint32_t oneTouch;
  std::uint32_t irOpe;
};

// What a button wake-up word says: the whole word under the button it names, 0 elsewhere.
constexpr WakeupButtonInfo DecodeWakeupButton(std::uint32_t word) {
  const bool counts = (word & 0xC0000000u) == 0x40000000u;
  const std::uint32_t source = word & 0xFF00u;
  return {.oneTouch = counts && source == 0x400u ? word : 0, .irOpe = counts && source == 0x300u ? word : 0};
}

// Both write what they can, silently, without a lock: each value is written whole, the last write of it wins. Called by
// the worker's wake check and by the control handler (with 0), which may overlap.
void WriteWakeupButtonRecord(std::uint32_t word);
// A negative word is stored as 0.
void WriteWakeupSwitchRecord(std::int32_t word);

}  // namespace Quorvex::PC::Hkd04a7::Service
