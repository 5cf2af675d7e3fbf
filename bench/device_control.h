// How a measurement has the device that answers from memory notify.
#pragma once

#include "bench/event_control.h"

namespace bench {

// The event that each notification makes, once the service asks what happened.
inline constexpr std::uint32_t kNoticeEvent = 2;

// What the device and the measurement share in the machine of this process: `notices`; `begun`, when the latest
// notification began; `clients`, how many listen to it.
EventControl& DeviceControl();

}  // namespace bench
