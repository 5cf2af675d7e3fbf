// The figures of the real service, whose device answers from memory: an event from the device's notification to a
// client that waits, and what the service does when there is nothing to do.
#pragma once

#include <sys/types.h>

#include <vector>

#include "bench/figures.h"
#include "bench/measurement.h"

namespace bench {

// The time of an event that a server of our own (server_roles.h) hands to one waiting client: the median of each round,
// in microseconds. Not while the service serves. Ends the program, as the next, when a client is not answered as it
// should be.
std::vector<double> MeasureFanOutAlone(const Measurement& measurement);

// What the road from the device's notification costs beyond `fanOutAlone`; the service serves in the machine of this
// process.
std::vector<Figure> MeasureNotification(const Measurement& measurement, const std::vector<double>& fanOutAlone);

// What `service` does in `seconds`, with `waits` clients waiting for an event.
std::vector<Figure> MeasureIdle(pid_t service, unsigned waits, unsigned seconds);

}  // namespace bench
