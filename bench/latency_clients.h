// The other end of the measurement: a process with many RPC clients, each with one wait outstanding.
#pragma once

#include <cstdint>

// What one round looked like from the clients, in nanoseconds of the monotonic clock.
struct RoundTimes {
  std::int64_t first = 0;
  std::int64_t middle = 0;
  std::int64_t last = 0;
};

// Connects `count` clients to `socketPath`, subscribes them and keeps one wait outstanding for each. After each round
// (a reply to every client) writes its RoundTimes to `output`. Ends when the server closes. The process's exit code.
int RunLatencyClients(const char* socketPath, unsigned count, int output);
