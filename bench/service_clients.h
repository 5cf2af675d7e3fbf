// Clients of an interface with sessions: a procedure that opens one, one that closes it, one that is called on it.
#pragma once

#include <vector>

#include "bench/call_loop.h"
#include "bench/prepared_calls.h"

namespace bench {

struct SessionInterface {
  host::rpc::SyntaxId id;
  Target open;
  Target close;
  Target call;
};

SessionInterface ProductSessions();
SessionInterface EngineSessions();

// `count` connections, each with a session of its own that has been called once. Ends the program when the server does
// not answer as it should.
std::vector<CallingClient> ConnectSessions(const SessionInterface& interface, unsigned count);

// Connections to the raw server.
std::vector<CallingClient> ConnectRaw(unsigned count);

// Opens sessions on one connection for `nanoseconds`, closing each before the next. How long the openings took.
std::vector<std::int64_t> OpenSessionsFor(std::int64_t nanoseconds, const SessionInterface& interface);

}  // namespace bench
