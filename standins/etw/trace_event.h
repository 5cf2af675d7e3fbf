// The trace events, as the manifest beside this file tells them to whoever reads a trace.
#pragma once

#include <array>
#include <cstdint>

struct TraceEvent {
  std::uint16_t id;
  std::uint64_t keywords;
  const char* name;                   // its writer's, without "HKD04A7ETW_"
  std::array<const char*, 3> fields;  // of unsigned 32-bit numbers; null behind the last one
};

// The provider's identity, in the parts of a GUID.
struct ProviderId {
  std::uint32_t first;
  std::uint16_t second, third;
  std::uint8_t rest[8];
};

inline constexpr ProviderId kProviderId = {
    0xda239414, 0x7bce, 0x4840, {0xbb, 0x4e, 0x5e, 0xc9, 0xd8, 0xb5, 0xad, 0xad}};

// By which a trace session chooses events.
inline constexpr std::uint64_t kDeviceKeyword = 0x1;   // what the device said
inline constexpr std::uint64_t kWakeupKeyword = 0x2;   // what woke the machine, and that it is awake
inline constexpr std::uint64_t kGenericKeyword = 0x4;  // every event once, with its two data words

inline constexpr TraceEvent kApplicationSwitchEvent = {
    1, kDeviceKeyword, "WriteApplicationSwitchControlEvent", {"eventId"}};
inline constexpr TraceEvent kApplicationSwitchWakeupEvent = {
    2, kWakeupKeyword, "WriteApplicationSwitchControlWakeupEvent", {"switchWake"}};
inline constexpr TraceEvent kButtonEvent = {3, kDeviceKeyword, "WriteIROpeOneButtonControlEvent", {"button"}};
inline constexpr TraceEvent kButtonWakeupEvent = {
    4, kWakeupKeyword, "WriteIROpeOneButtonControlWakeupEvent", {"buttonWake"}};
inline constexpr TraceEvent kAccelerationSensorEvent = {
    5, kDeviceKeyword, "WriteInterruptAccelerationSensorEvent", {"sensor"}};
inline constexpr TraceEvent kEmergencyNotificationEvent = {
    6, kDeviceKeyword, "WriteEmergencyNotificationEvent", {"notification"}};
inline constexpr TraceEvent kPhonePcDataEvent = {7, kDeviceKeyword, "WritePhonePCDataControlEvent", {"bit", "value"}};
inline constexpr TraceEvent kPowerEvent = {8, kWakeupKeyword, "WriteWindowsPowerEvent", {"power"}};
inline constexpr TraceEvent kInterruptEcEvent = {9, kDeviceKeyword, "WriteInterruptECEvent", {"kind", "value"}};
inline constexpr TraceEvent kGenericEvent = {10, kGenericKeyword, "WriteHkd04a7Event", {"eventId", "data1", "data2"}};

inline constexpr const TraceEvent* kTraceEvents[] = {&kApplicationSwitchEvent,
                                                     &kApplicationSwitchWakeupEvent,
                                                     &kButtonEvent,
                                                     &kButtonWakeupEvent,
                                                     &kAccelerationSensorEvent,
                                                     &kEmergencyNotificationEvent,
                                                     &kPhonePcDataEvent,
                                                     &kPowerEvent,
                                                     &kInterruptEcEvent,
                                                     &kGenericEvent};
