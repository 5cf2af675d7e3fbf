// A scope that must be left in time.
#pragma once

#include <chrono>
#include <string>

namespace tool {

// When the scope is not left within `patience` (0: no limit), the process prints `message` on the error stream and ends
// with kTimedOut. One at a time.
class Deadline {
 public:
  Deadline(std::chrono::seconds patience, std::string message);
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
};

}  // namespace tool
