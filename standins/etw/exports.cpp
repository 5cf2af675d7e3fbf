// The exports of the event-tracing library. Each writer leaves one readable record; how a real machine lays trace
// events out is another product's. Results are 1, or 0 with the last error left: 6 for a handle that is not open.
#include <cstdint>
#include <initializer_list>

#include "standins/etw/open_handles.h"
#include "standins/etw/trace_file.h"
#include "standins/etw/trace_record.h"
#include "standins/last_error.h"

namespace {

OpenHandles g_openHandles;

std::uint32_t Write(std::uint64_t handle, const char* event, std::initializer_list<TraceArgument> arguments) {
  if (!g_openHandles.Contains(handle)) {
    LeaveLastError(kInvalidHandle);
    return 0;
  }
  return AppendTraceRecord(FormatTraceRecord(event, {arguments.begin(), arguments.size()})) ? 1 : 0;
}

}  // namespace

extern "C" {

std::uint32_t HKD04A7ETW_Open(std::uint64_t* handle) {
  if (handle == nullptr) {
    LeaveLastError(kInvalidParameter);
    return 0;
  }
  if (!CanWriteTraceFile()) return 0;
  *handle = g_openHandles.Add();
  return 1;
}

std::uint32_t HKD04A7ETW_Close(std::uint64_t handle) {
  if (g_openHandles.Remove(handle)) return 1;
  LeaveLastError(kInvalidHandle);
  return 0;
}

std::uint32_t HKD04A7ETW_WriteApplicationSwitchControlEvent(std::uint64_t handle, std::uint32_t eventId) {
  return Write(handle, "WriteApplicationSwitchControlEvent", {{"eventId", eventId}});
}

std::uint32_t HKD04A7ETW_WriteApplicationSwitchControlWakeupEvent(std::uint64_t handle, std::uint32_t wake) {
  return Write(handle, "WriteApplicationSwitchControlWakeupEvent", {{"switchWake", wake}});
}

std::uint32_t HKD04A7ETW_WriteIROpeOneButtonControlEvent(std::uint64_t handle, std::uint32_t button) {
  return Write(handle, "WriteIROpeOneButtonControlEvent", {{"button", button}});
}

std::uint32_t HKD04A7ETW_WriteIROpeOneButtonControlWakeupEvent(std::uint64_t handle, std::uint32_t wake) {
  return Write(handle, "WriteIROpeOneButtonControlWakeupEvent", {{"buttonWake", wake}});
}

std::uint32_t HKD04A7ETW_WriteInterruptAccelerationSensorEvent(std::uint64_t handle, std::uint32_t sensor) {
  return Write(handle, "WriteInterruptAccelerationSensorEvent", {{"sensor", sensor}});
}

std::uint32_t HKD04A7ETW_WriteEmergencyNotificationEvent(std::uint64_t handle, std::uint32_t notification) {
  return Write(handle, "WriteEmergencyNotificationEvent", {{"notification", notification}});
}

std::uint32_t HKD04A7ETW_WritePhonePCDataControlEvent(std::uint64_t handle, std::uint32_t bit, std::uint32_t value) {
  return Write(handle, "WritePhonePCDataControlEvent", {{"bit", bit}, {"value", value}});
}

std::uint32_t HKD04A7ETW_WriteWindowsPowerEvent(std::uint64_t handle, std::uint32_t power) {
  return Write(handle, "WriteWindowsPowerEvent", {{"power", power}});
}

std::uint32_t HKD04A7ETW_WriteInterruptECEvent(std::uint64_t handle, std::uint32_t kind, std::uint32_t value) {
  return Write(handle, "WriteInterruptECEvent", {{"kind", kind}, {"value", value}});
}

std::uint32_t HKD04A7ETW_WriteHkd04a7Event(std::uint64_t handle, std::uint32_t eventId, std::uint32_t data1,
                                           std::uint32_t data2) {
  return Write(handle, "WriteHkd04a7Event", {{"eventId", eventId}, {"data1", data1}, {"data2", data2}});
}

}  // extern "C"
