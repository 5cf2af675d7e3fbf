// up, down, reboot, settle: the machine as a whole.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/machine_control.h"

namespace tool {
namespace {

constexpr std::chrono::seconds kRebootPatience{90};

void Say(const Options& options, const char* done) {
  if (options.json) {
    std::printf("%s\n", nlohmann::json{{"done", done}}.dump().c_str());
    return;
  }
  std::printf("%s (%s)\n", done, host::CurrentMachineDirectory().runtime.c_str());
}

int Up(const Options& options, bool withService) {
  const bool wasUp = MachineIsUp();
  if (int code = StartMachine(options); code != kDone) return code;
  if (withService) {
    if (int code = EnsureService(options); code != kDone) return code;
    // Clients are welcome when this command returns.
    if (int code = AwaitServiceReady(options); code != kDone) return code;
  }
  Say(options, wasUp ? "the machine was up already" : "the machine is up");
  return kDone;
}

int Down(const Options& options) {
  if (int code = StopMachine(options); code != kDone) return code;
  Say(options, "the machine is down");
  return kDone;
}

int Reboot(const Options& options) {
  const MachineRequest request{"reboot", "the machine", "hkd04a7ctl status", kRebootPatience};
  if (int code = CallMachine(options, request, nlohmann::json{{"op", "machine.reboot"}}, nullptr); code != kDone)
    return code;
  if (int code = AwaitServiceReady(options); code != kDone) return code;
  Say(options, "the machine has rebooted");
  return kDone;
}

void Add(CLI::App& app, Options& options, const char* name, const char* help, int (*act)(const Options&)) {
  app.add_subcommand(name, help)->callback([&options, act] {
    options.action = [&options, act] { return act(options); };
  });
}

}  // namespace

void AddMachineCommands(CLI::App& app, Options& options) {
  CLI::App* up = app.add_subcommand("up", "bring the machine up, with the service");
  auto noService = std::make_shared<bool>(false);
  up->add_flag("--no-service", *noService, "neither configure nor start the service");
  up->callback([&options, noService] { options.action = [&options, noService] { return Up(options, !*noService); }; });
  Add(app, options, "down", "take the machine down, with every process it started", Down);
  Add(app, options, "reboot", "restart the machine: what is volatile goes, automatic services start", Reboot);
  Add(app, options, "settle", "return when nothing is outstanding: device, service, runs of tasks, client mode",
      Settle);
}

}  // namespace tool
