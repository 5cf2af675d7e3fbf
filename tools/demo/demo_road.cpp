#include "tools/demo/demo_road.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/road_text.h"

namespace tool {
namespace {

bool Has(const Road& road, Station station, const char* what) {
  return std::any_of(road.entries.begin(), road.entries.end(), [&](const RoadEntry& entry) {
    return entry.station == station && entry.what.find(what) != std::string::npos;
  });
}

}  // namespace

int DemoRoad::Follow(const Options& options, machine::Device& device) {
  const MachineRequest request{"follow a press", "the machine", "hkd04a7ctl status"};
  if (int code = CallMachine(options, request, {{"op", "journal.read"}}, nullptr); code != kDone) return code;
  recorder_.emplace(device);
  return kDone;
}

bool DemoRoad::Show() {
  const Road road = recorder_->Collect();
  std::printf("%s", RoadText(road).c_str());
  return std::all_of(std::begin(kTargets), std::end(kTargets),
                     [&](Station target) { return road.TimeOf(target) >= 0; }) &&
         road.IsInOrder() && Has(road, Station::TaskRun, "ended: exit status 0") &&
         Has(road, Station::AppService, "answered");
}

}  // namespace tool
