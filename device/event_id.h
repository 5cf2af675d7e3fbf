// The identifiers of the service's events. 0 never carries an event.
#pragma once

#include <cstdint>

namespace Quorvex::PC::Hkd04a7::EventId {

// 1 to 31: application switch, bit b of the switch mask gives b + 1.
inline constexpr std::uint32_t FirstAppSwitch = 1;
inline constexpr std::uint32_t OneTouchButton = 32;
inline constexpr std::uint32_t IrOpeButton = 33;
inline constexpr std::uint32_t AccelerationSensor = 34;
inline constexpr std::uint32_t EmergencyNotification = 35;
inline constexpr std::uint32_t PhonePcDataControl = 36;
inline constexpr std::uint32_t PowerResume = 37;
inline constexpr std::uint32_t InterruptEc = 38;
inline constexpr std::uint32_t Function1015 = 40;
inline constexpr std::uint32_t SessionChange = 41;
inline constexpr std::uint32_t Function101C = 42;
inline constexpr std::uint32_t Last = 42;

}  // namespace Quorvex::PC::Hkd04a7::EventId
