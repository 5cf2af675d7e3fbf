// The clock of all measurements.
#pragma once

#include <time.h>

#include <cstdint>

namespace bench {

// Nanoseconds of the monotonic clock.
inline std::int64_t Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

inline double Microseconds(std::int64_t nanoseconds) {
  return static_cast<double>(nanoseconds) / 1000;
}

}  // namespace bench
