// What a process takes of the system, read from /proc.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace load {

struct ProcessFigures {
  std::uint64_t privateKiB = 0;  // resident, without what files hold
  std::uint64_t descriptors =
      0;  // without the connections to the registry, of which there are a few, as many as needed
  std::uint64_t threads = 0;
  std::uint64_t switches = 0;     // context switches of all threads so far
  std::uint64_t cpuNs = 0;        // processor time of all threads so far
  std::uint64_t armedTimers = 0;  // timer descriptors that will expire
};

// Of a process that goes on; what cannot be read counts 0.
ProcessFigures FiguresOf(pid_t pid);

// Processes that have ended and that their parent, `pid` or one of its descendants, has not collected.
unsigned ZombiesBelow(pid_t pid);

}  // namespace load
