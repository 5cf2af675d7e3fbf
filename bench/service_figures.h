// The figures of the real service, whose device answers from memory: an event from the device's notification to a
// client that waits, and what the service does when there is nothing to do.
#pragma once

#include <sys/types.h>

#include <vector>

#include "bench/figures.h"
#include "bench/measurement.h"

namespace bench {

// `service` serves in the machine of this process. Ends the program when a client is not answered as it should be.
Figure MeasureNotification(const Measurement& measurement);

// What `service` does in `seconds`, with `waits` clients waiting for an event.
std::vector<Figure> MeasureIdle(pid_t service, unsigned waits, unsigned seconds);

}  // namespace bench
