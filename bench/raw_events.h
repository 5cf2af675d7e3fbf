// What the sockets alone allow for events: an epoll server that writes 40 bytes to each client, which reads them and
// writes 44 back for the next.
#pragma once

#include <string>

#include "bench/event_control.h"

namespace bench {

inline constexpr std::size_t kRawEventSize = 40;
inline constexpr std::size_t kRawWaitSize = 44;

// Serves `listener` as `orders` (server_roles.h) come in; the process's exit code.
int ServeRawEvents(int listener, int orders, EventControl& control);

}  // namespace bench
