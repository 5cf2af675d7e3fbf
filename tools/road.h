// One event's road through its targets, put together from what the machine wrote down at each of them.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "machine/device.h"
#include "tools/file_follower.h"

namespace tool {

// The stations of the road; the four targets stand in the order in which the service hands an event to them.
enum class Station { Device, Trace, Rpc, Tasks, User, TaskRun, AppService, Done };
inline constexpr Station kTargets[] = {Station::Trace, Station::Rpc, Station::Tasks, Station::User};

struct RoadEntry {
  Station station = Station::Device;
  std::int64_t at = 0;    // nanoseconds, monotonic
  std::int64_t took = 0;  // nanoseconds of the call itself; 0 where it is not measured
  std::string what;
};

struct Road {
  std::vector<RoadEntry> entries;  // in the order of their times

  // From the end of the target before to the end of this one, nanoseconds; nothing came to the target: -1.
  std::int64_t TimeOf(Station target) const;
  // Whether no target was handed the event after one that comes later in the order.
  bool IsInOrder() const;
};

// Reads a record of one of the files; nothing for a record that is no station. Pure.
std::vector<RoadEntry> ReadTraceRecord(const nlohmann::json& record);
std::vector<RoadEntry> ReadJournalRecord(const nlohmann::json& record);
std::vector<RoadEntry> ReadTaskRecord(const nlohmann::json& record);
std::vector<RoadEntry> ReadAppServiceRecord(const nlohmann::json& record);

// "device", "trace", "RPC", ...
const char* StationName(Station station);

// Follows the machine's files from construction on. The caller has made the daemon keep the journal.
class RoadRecorder {
 public:
  explicit RoadRecorder(machine::Device& device);

  // What came since construction.
  Road Collect();

 private:
  struct Source {
    std::unique_ptr<FileFollower> file;
    std::vector<RoadEntry> (*read)(const nlohmann::json& record);
  };

  machine::Device& device_;
  const std::uint64_t firstNotification_;
  std::vector<Source> sources_;
};

}  // namespace tool
