// What the sockets alone allow: an epoll server that answers each request of 64 bytes with 32, and nothing else.
#pragma once

#include <string>

#include "bench/call_loop.h"

namespace bench {

// Listens at `socketPath`; -1 with errno when it cannot.
int ListenForRawClients(const std::string& socketPath);

// Serves `listener` until a client misbehaves in a way that none of ours does; the process's exit code.
int ServeRawCalls(int listener);

// A connected client with its request and the reply to it; its socket is -1 when nobody serves.
CallingClient ConnectRawClient(const std::string& socketPath);

}  // namespace bench
