// One question to the device and its answer word.
#pragma once

#include <cstdint>

#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

namespace DeviceFunction {
inline constexpr std::uint32_t AppSwitch = 0x1000;
inline constexpr std::uint32_t Buttons = 0x1002;
inline constexpr std::uint32_t Sensors = 0x1006;
inline constexpr std::uint32_t EmergencyNotification = 0x1009;
inline constexpr std::uint32_t PhonePcDataControl = 0x100F;
inline constexpr std::uint32_t Function1015 = 0x1015;
inline constexpr std::uint32_t Function101C = 0x101C;
}  // namespace DeviceFunction

struct DeviceQuery {
  std::uint32_t functionCode;
  std::uint32_t arg1 = 0;
  std::uint32_t arg2 = 0;
  std::uint32_t arg3 = 0;
};

// Asks the device. True when the answer counts: the call succeeded and bit 31 of the word is clear. A missing entry
// point leaves last error 50.
inline bool QueryDevice(const Service::CServiceContext& context, const DeviceQuery& query, std::uint32_t& answer) {
  answer = 0;
  return context.deviceDll.CallFuncMethod(query.functionCode, query.arg1, query.arg2, query.arg3, &answer) &&
         (answer & 0x80000000u) == 0;
}

}  // namespace Quorvex::PC::Hkd04a7
