// The figures of events on their way to many clients, each from rounds in which the subscriptions and the raw server
// take turns.
#pragma once

#include <vector>

#include "bench/figures.h"
#include "bench/measurement.h"
#include "bench/server_process.h"

namespace bench {

// The time of one event and the events a second, with 1, 100 and 1,000 clients (of these, those up to `mostClients`).
// Ends the program when a client is not answered as it should be.
std::vector<Figure> MeasureEvents(const Measurement& measurement, unsigned mostClients, const ServerProcess& service,
                                  const ServerProcess& raw);

// What a subscription adds to the resident size of `service`, a server that nobody has called yet: `subscriptions` of
// them, each on a connection of its own, with a wait outstanding and after 100 events.
Figure MeasureSubscriptionSize(unsigned subscriptions, const ServerProcess& service);

// What an event adds to the resident size of `service`, another such server, for each subscription that never waits.
Figure MeasureQueuedEvent(const ServerProcess& service);

}  // namespace bench
