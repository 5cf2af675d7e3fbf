// The figures of calls and sessions, each from rounds in which the RPC server and the raw one take turns.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/figures.h"
#include "bench/server_process.h"

namespace bench {

struct CallSettings {
  unsigned rounds = 5;
  std::int64_t phase = 500'000'000;  // nanoseconds, of each phase of a round
  unsigned sessions = 1000;          // for the size of one
};

// All figures. `service` and `raw` serve in the machine of this process. Ends the program when a client is not
// answered as it should be.
std::vector<Figure> MeasureCalls(const CallSettings& settings, ServerProcess& service);

}  // namespace bench
