// The figures of calls and sessions, each from rounds in which the RPC server and the raw one take turns.
#pragma once

#include <vector>

#include "bench/figures.h"
#include "bench/measurement.h"
#include "bench/server_process.h"

namespace bench {

// All figures, `sessions` being how many are open when the size of one is taken. `service` and the raw server serve in
// the machine of this process. Ends the program when a client is not answered as it should be.
std::vector<Figure> MeasureCalls(const Measurement& measurement, unsigned sessions, const ServerProcess& service);

}  // namespace bench
