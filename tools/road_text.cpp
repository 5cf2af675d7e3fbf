#include "tools/road_text.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/printable.h"

namespace tool {
namespace {

using nlohmann::json;

double Milliseconds(std::int64_t nanoseconds) {
  return static_cast<double>(nanoseconds) / 1e6;
}

std::string EntryLine(const RoadEntry& entry, std::int64_t first, std::int64_t before) {
  char times[96];
  std::snprintf(times, sizeof times, "  %9.3f ms  +%8.3f  %-11s  ", Milliseconds(entry.at - first),
                Milliseconds(entry.at - before), StationName(entry.station));
  return times + Printable(entry.what) + "\n";
}

std::string TargetsLine(const Road& road) {
  std::string line = "  took:";
  for (const Station target : kTargets) {
    const std::int64_t time = road.TimeOf(target);
    char text[64];
    std::snprintf(text, sizeof text, " %s %.3f ms", StationName(target), Milliseconds(time));
    line += time >= 0 ? text : std::string(" ") + StationName(target) + " nothing";
    line += target != Station::User ? "," : "";
  }
  return line + (road.IsInOrder() ? "; in order\n" : "; NOT IN ORDER\n");
}

}  // namespace

std::string RoadText(const Road& road) {
  if (road.entries.empty()) return "  nothing happened\n";
  const std::int64_t first = road.entries.front().at;
  std::int64_t before = first;
  std::string text;
  for (const RoadEntry& entry : road.entries) {
    text += EntryLine(entry, first, before);
    before = entry.at;
  }
  return text + TargetsLine(road);
}

std::string RoadJson(const Road& road) {
  json entries = json::array();
  for (const RoadEntry& entry : road.entries)
    entries.push_back({{"station", StationName(entry.station)},
                       {"at", entry.at - road.entries.front().at},
                       {"took", entry.took},
                       {"what", entry.what}});
  json targets = json::object();
  for (const Station target : kTargets) {
    const std::int64_t time = road.TimeOf(target);
    targets[StationName(target)] = time >= 0 ? json(time) : json(nullptr);
  }
  return json{{"entries", entries}, {"targets", targets}, {"inOrder", road.IsInOrder()}}.dump();
}

}  // namespace tool
