// One client that asks for events with prepared PDUs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bench/prepared_calls.h"

namespace bench {

// A connection, and the bytes that ask for an event.
struct EventClient {
  int socket = -1;
  Bytes wait;
  std::uint32_t read = 0;  // events so far
};

// Of the PDU that brings an event: its size, the raw one's too, and where the event's words lie.
inline constexpr std::size_t kEventSize = 40;
inline constexpr std::size_t kEventIdOffset = 24;
inline constexpr std::size_t kEventNumberOffset = 28;

// A new connection to the product's endpoint with a subscription; no wait is outstanding yet. Ends the program when the
// server does not answer as it should.
EventClient Subscribe();

}  // namespace bench
