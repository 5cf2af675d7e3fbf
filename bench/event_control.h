// What a server that hands out events and the process that holds its clients share while an event is on its way:
// memory, so that the one need not disturb the other to ask.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace bench {

struct EventControl {
  // Events out and not yet read by all clients, at most; a server that has had to wait goes on when half are read.
  static constexpr std::uint32_t kMostInFlight = 16;

  // Written by the server.
  std::atomic<std::int64_t> begun;       // when the delivery of the latest event began
  std::atomic<std::uint32_t> delivered;  // events so far
  std::atomic<std::uint32_t> held;       // 1: it waits for `read` to grow

  // Written by the clients.
  std::atomic<std::uint32_t> clients;  // how many there are, each with a wait outstanding
  std::atomic<std::uint32_t> read;     // events that all of them have read
  std::atomic<std::uint32_t> ended;    // 1: no further event is wanted
  std::atomic<std::uint32_t> notices;  // notifications that the device is to make, so far

  std::uint32_t InFlight() const { return delivered - read; }
  bool Full() const { return InFlight() >= kMostInFlight; }

  // The server's wait while as many events are out as may be. False when no further one is wanted.
  bool AwaitRoom();

  // The clients' side: one more event that all have read.
  void CountRead();

  // Has the device notify; and the device's wait for that: until there have been other than `seen` of them.
  void Notify();
  void AwaitNotice(std::uint32_t seen);
};

// The memory behind the file `path`, which is made when it is not there. Ends the program when it cannot be had.
EventControl& MapEventControl(const std::string& path);

}  // namespace bench
