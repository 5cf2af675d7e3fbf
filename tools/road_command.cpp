// road: presses a button and shows the event's road through its targets.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/machine_control.h"
#include "tools/report.h"
#include "tools/road.h"
#include "tools/road_text.h"

namespace tool {
namespace {

int ShowRoad(const Options& options, const std::string& button) {
  const std::string tried = "follow " + button;
  if (int code = RequireMachine(options, tried); code != kDone) return code;
  std::string error;
  const auto device = machine::Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device == nullptr) return Report(options, kFailed, {tried, error, 0, "hkd04a7ctl status"});
  const MachineRequest journal{tried, "the machine", "hkd04a7ctl status"};
  if (int code = CallMachine(options, journal, {{"op", "journal.read"}}, nullptr); code != kDone) return code;
  RoadRecorder recorder(*device);
  if (!Press(*device, *ParseButton(button)))
    return Report(options, kFailed, {tried, "the device did not take it", 0, "hkd04a7ctl status"});
  const int settled = Settle(options);
  const Road road = recorder.Collect();
  std::printf("%s", options.json ? (RoadJson(road) + "\n").c_str() : RoadText(road).c_str());
  if (settled != kDone) return settled;
  return road.IsInOrder() && road.TimeOf(Station::Trace) >= 0 ? kDone : kFailed;
}

}  // namespace

void AddRoadCommand(CLI::App& app, Options& options) {
  CLI::App* command =
      app.add_subcommand("road", "press a button and show the event's road, with the time at each target");
  auto button = std::make_shared<std::string>();
  command->add_option("button", *button, "as for press")->required()->check(CLI::Validator(ButtonError, "BUTTON"));
  command->callback([&options, button] { options.action = [&options, button] { return ShowRoad(options, *button); }; });
}

}  // namespace tool
