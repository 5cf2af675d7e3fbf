// The clients' end of the events: one process, one epoll loop, any number of clients that ask for the next event as
// soon as they have read one.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/server_process.h"
#include "bench/subscriber.h"

namespace bench {

class EventClients {
 public:
  // `count` clients of the product's subscriptions, or of the raw server; `server` serves them. Ends the program, as
  // everything here, when a client is not answered as it should be.
  static EventClients OfProduct(const ServerProcess& server, unsigned count);
  static EventClients OfRaw(const ServerProcess& server, unsigned count);
  // Closes the connections, and waits until the server is rid of them.
  ~EventClients();
  EventClients(const EventClients&) = delete;
  EventClients& operator=(const EventClients&) = delete;

  // One event, from before the server hands it out until the last client has read it: nanoseconds.
  std::int64_t ReadOne();

  // Reads events for `nanoseconds` and then those that are out: events a second that all clients have read.
  double ReadFor(std::int64_t nanoseconds);

 private:
  EventClients(const ServerProcess& server, bool numbered, std::vector<EventClient> clients);
  void ReadReady();
  void ReadAll();
  void ReadEvent(EventClient& client);

  const ServerProcess& server_;
  EventControl& control_;
  const bool numbered_;  // an event carries its number
  std::vector<EventClient> clients_;
  const int epoll_;
  std::uint32_t reads_[2 * EventControl::kMostInFlight] = {};  // of the event of a number, by the number's remainder
  std::int64_t lastRead_ = 0;                                  // when the latest event had been read by all
};

}  // namespace bench
