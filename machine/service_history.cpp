#include "machine/service_history.h"

#include <chrono>

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kMaxEntries = 1000;

}  // namespace

json TimeStamps() {
  using std::chrono::duration_cast;
  const auto monotonic = std::chrono::steady_clock::now().time_since_epoch();
  const auto wall = std::chrono::system_clock::now().time_since_epoch();
  return json{{"t", duration_cast<std::chrono::nanoseconds>(monotonic).count()},
              {"wall", duration_cast<std::chrono::milliseconds>(wall).count()}};
}

void ServiceHistory::Add(const std::string& kind, json details) {
  json entry = TimeStamps();
  entry["kind"] = kind;
  entry.update(details);
  entries_.push_back(std::move(entry));
  if (entries_.size() > kMaxEntries) entries_.erase(entries_.begin());
}

}  // namespace machine
