// The exports of the event-tracing library, one writer for each trace event. Results are 1, or 0 with the last error
// left: 6 for a handle that is not open.
#include <cstdint>
#include <initializer_list>

#include "standins/etw/open_handles.h"
#include "standins/etw/trace_event.h"
#include "standins/etw/trace_provider.h"
#include "standins/last_error.h"

namespace {

OpenHandles g_openHandles;

std::uint32_t Write(std::uint64_t handle, const TraceEvent& event, std::initializer_list<std::uint32_t> values) {
  if (const auto registration = g_openHandles.Find(handle))
    return WriteTraceEvent(*registration, event, {values.begin(), values.size()}) ? 1 : 0;
  LeaveLastError(kInvalidHandle);
  return 0;
}

}  // namespace

extern "C" {

std::uint32_t HKD04A7ETW_Open(std::uint64_t* handle) {
  if (handle == nullptr) {
    LeaveLastError(kInvalidParameter);
    return 0;
  }
  std::uint64_t registration = 0;
  if (!RegisterTraceProvider(&registration)) return 0;
  *handle = g_openHandles.Add(registration);
  return 1;
}

std::uint32_t HKD04A7ETW_Close(std::uint64_t handle) {
  if (const auto registration = g_openHandles.Remove(handle)) {
    UnregisterTraceProvider(*registration);
    return 1;
  }
  LeaveLastError(kInvalidHandle);
  return 0;
}

std::uint32_t HKD04A7ETW_WriteApplicationSwitchControlEvent(std::uint64_t handle, std::uint32_t eventId) {
  return Write(handle, kApplicationSwitchEvent, {eventId});
}

std::uint32_t HKD04A7ETW_WriteApplicationSwitchControlWakeupEvent(std::uint64_t handle, std::uint32_t wake) {
  return Write(handle, kApplicationSwitchWakeupEvent, {wake});
}

std::uint32_t HKD04A7ETW_WriteIROpeOneButtonControlEvent(std::uint64_t handle, std::uint32_t button) {
  return Write(handle, kButtonEvent, {button});
}

std::uint32_t HKD04A7ETW_WriteIROpeOneButtonControlWakeupEvent(std::uint64_t handle, std::uint32_t wake) {
  return Write(handle, kButtonWakeupEvent, {wake});
}

std::uint32_t HKD04A7ETW_WriteInterruptAccelerationSensorEvent(std::uint64_t handle, std::uint32_t sensor) {
  return Write(handle, kAccelerationSensorEvent, {sensor});
}

std::uint32_t HKD04A7ETW_WriteEmergencyNotificationEvent(std::uint64_t handle, std::uint32_t notification) {
  return Write(handle, kEmergencyNotificationEvent, {notification});
}

std::uint32_t HKD04A7ETW_WritePhonePCDataControlEvent(std::uint64_t handle, std::uint32_t bit, std::uint32_t value) {
  return Write(handle, kPhonePcDataEvent, {bit, value});
}

std::uint32_t HKD04A7ETW_WriteWindowsPowerEvent(std::uint64_t handle, std::uint32_t power) {
  return Write(handle, kPowerEvent, {power});
}

std::uint32_t HKD04A7ETW_WriteInterruptECEvent(std::uint64_t handle, std::uint32_t kind, std::uint32_t value) {
  return Write(handle, kInterruptEcEvent, {kind, value});
}

std::uint32_t HKD04A7ETW_WriteHkd04a7Event(std::uint64_t handle, std::uint32_t eventId, std::uint32_t data1,
                                           std::uint32_t data2) {
  return Write(handle, kGenericEvent, {eventId, data1, data2});
}

}  // extern "C"
