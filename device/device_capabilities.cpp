#include "device/device_capabilities.h"

#include "device/device_query.h"

namespace Quorvex::PC::Hkd04a7 {

DeviceCapabilities g_deviceCapabilities;

namespace {

// The answer word, 0 when it does not count.
std::uint32_t AnswerOrZero(const Service::CServiceContext& context, const DeviceQuery& query) {
  std::uint32_t answer = 0;
  return QueryDevice(context, query, answer) ? answer : 0;
}

std::uint32_t CountFunction101C(const Service::CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!QueryDevice(context, {DeviceFunction::Function101C}, answer)) return 0;
  return AnswerOrZero(context, {DeviceFunction::Function101C, 3});
}

}  // namespace

void ProbeDeviceCapabilities(const Service::CServiceContext& context) {
  DeviceCapabilities found;
  found.hasAppSwitch = AnswerOrZero(context, {DeviceFunction::AppSwitch}) != 0;
  found.hasButtonEvents = (AnswerOrZero(context, {DeviceFunction::Buttons}) & 0x3u) != 0;
  const std::uint32_t sensors = AnswerOrZero(context, {DeviceFunction::Sensors});
  found.hasAccelerationSensor = (sensors & 0x1u) != 0;
  found.hasInterruptEc = (sensors & 0x80u) != 0;
  found.hasEmergencyNotification = (AnswerOrZero(context, {DeviceFunction::EmergencyNotification}) & 0x3u) != 0;
  found.hasPhonePcDataControl = (AnswerOrZero(context, {DeviceFunction::PhonePcDataControl}) & 0x1u) != 0;
  found.hasFunction1015Events = AnswerOrZero(context, {DeviceFunction::Function1015, 4}) != 0;
  found.function101CCount = CountFunction101C(context);
  g_deviceCapabilities = found;
}

}  // namespace Quorvex::PC::Hkd04a7
