// The fan-out: one event, handed to everybody who wants it.
#pragma once

#include <cstdint>

#include "device/event_id.h"
#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// Hands the event to its targets in a fixed order: event tracing, then the RPC subscriptions. Identifiers of 43 and
// more are dropped without a word; identifier 0 is logged but neither traced nor delivered. No target's failure stops
// the next. Worker's thread, one event at a time; takes the subscription list's lock while it delivers to
// subscriptions.
void NotifyEvent(Service::CServiceContext& context, std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2);

}  // namespace Quorvex::PC::Hkd04a7
