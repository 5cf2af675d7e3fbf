// The fan-out: one event, handed to everybody who wants it.
#pragma once

#include <cstdint>

#include "device/event_id.h"
#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// Hands the event to its targets in a fixed order: event tracing, the RPC subscriptions, the scheduled tasks, the
// user's session. Identifiers of 43 and more are dropped without a word; identifier 0 is logged and offered to the
// user's session, but neither traced nor delivered to subscriptions or tasks. No target's failure stops the next:
// memory that runs short in one is logged. Worker's thread, one event at a time; takes the subscription list's lock
// while it delivers to subscriptions, and holds no lock after that, where it may take long.
void NotifyEvent(Service::CServiceContext& context, std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2);

}  // namespace Quorvex::PC::Hkd04a7
