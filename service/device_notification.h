// The device's notifications on their way to the worker.
#pragma once

#include "platform/types.h"
#include "service/service_context.h"
#include "service/service_host.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Called by the device utility library on a thread of its own; `context` is the completion port. Posts a
// DeviceNotification packet, or only logs when `completionStatus` is not 0 or there is no port.
void CALLBACK Hkd04a7NotificationCallback(std::uint32_t completionStatus, void* context);

// Asks the device utility library to call back on notifications, once a second until it agrees. False when a packet
// of any kind arrived meanwhile: it is consumed and the service is to end.
bool RegisterWithDevice(CServiceHost& host, CServiceContext& context);

}  // namespace Quorvex::PC::Hkd04a7::Service
