// Which event sources the device has.
#pragma once

#include <cstdint>

#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

struct DeviceCapabilities {
  bool hasAppSwitch = false;
  bool hasButtonEvents = false;
  bool hasAccelerationSensor = false;
  bool hasInterruptEc = false;
  bool hasEmergencyNotification = false;
  bool hasPhonePcDataControl = false;
  bool hasFunction1015Events = false;
  std::uint32_t function101CCount = 0;
};

// Read once per service start, before the first wake check, and never changed afterwards. Worker's thread.
extern DeviceCapabilities g_deviceCapabilities;

// Asks the device for its event sources and fills g_deviceCapabilities.
void ProbeDeviceCapabilities(const Service::CServiceContext& context);

}  // namespace Quorvex::PC::Hkd04a7
