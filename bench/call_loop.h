// One process, one epoll loop, any number of clients that call as fast as they are answered.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/prepared_calls.h"

namespace bench {

// A connection with the one request it makes again and again, and the reply each time.
struct CallingClient {
  int socket = -1;
  Bytes request;
  Bytes reply;
};

struct CallTimes {
  std::vector<std::int64_t> roundTrips;  // nanoseconds, in the order of the replies
  double callsPerSecond = 0;
};

// Has every client call for `nanoseconds`, and waits for the last replies. False when a server closed or sent anything
// but the expected reply.
bool CallFor(std::int64_t nanoseconds, const std::vector<CallingClient>& clients, CallTimes* times);

void CloseAll(const std::vector<CallingClient>& clients);

}  // namespace bench
