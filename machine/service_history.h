// What happened to one service, with times: its reports, its controls, its processes. Loop thread only.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace machine {

// Nanoseconds of CLOCK_MONOTONIC and milliseconds since 1970, as in the machine's other records.
nlohmann::json TimeStamps();

class ServiceHistory {
 public:
  // Adds an entry {"t", "wall", "kind", ...details}; the oldest go when there are too many.
  void Add(const std::string& kind, nlohmann::json details);

  const nlohmann::json& entries() const { return entries_; }

 private:
  nlohmann::json entries_ = nlohmann::json::array();
};

}  // namespace machine
