// The wake-up status query: which part of the wake-up record a client asks for, and how it is answered.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The parts of the record that can be asked for.
namespace WakeupKind {
inline constexpr DWORD Switch = 1;
inline constexpr DWORD OnetouchButton = 2;
}  // namespace WakeupKind

// Reads one part of the record: true with the value in `info`, false with `info` as it was.
using WakeupInfoReader = bool (*)(DWORD& info);

// The switch part, of the machine's record or, where that key cannot be opened, of the service's own user's.
bool ReadWakeupSwitchInfo(DWORD& info);
// The one-touch-button part; a failure leaves the registry's code as the last error.
bool ReadWakeupOnetouchButtonInfo(DWORD& info);

// Answers a query of a current record with what the reader of its kind reads: S_OK with the value in `info`; with 0
// there E_FAIL when the reader fails, E_INVALIDARG for an unknown kind.
HRESULT AnswerWakeupQuery(DWORD wakeupKind, WakeupInfoReader readSwitch, WakeupInfoReader readOnetouchButton,
                          DWORD& info);

}  // namespace Quorvex::PC::Hkd04a7::Service
