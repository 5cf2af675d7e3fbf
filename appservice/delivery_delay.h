// How long the delivery of an event to app services is put off: after a resume or a logon they may not be ready yet.
#pragma once

#include <cstdint>

namespace Quorvex::PC::Hkd04a7 {

// Blocks the calling thread for as many milliseconds as the machine is configured to wait after a resume or a logon;
// for any other event, and where nothing is configured, not at all. A value that is no REG_DWORD counts as absent. May
// throw std::bad_alloc.
void SleepBeforeDelivery(std::uint32_t eventId, std::uint32_t data1);

}  // namespace Quorvex::PC::Hkd04a7
