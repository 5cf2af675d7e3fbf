// status: the machine at a glance.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/status_text.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kStatusPatience{20};

int Status(const Options& options) {
  json status;
  const MachineRequest request{"ask for the machine's status", "the machine", "", kStatusPatience};
  if (int code = CallMachine(options, request, json{{"op", "machine.status"}}, &status); code != kDone) return code;
  status.erase("id");
  status["runtime"] = host::CurrentMachineDirectory().runtime;
  std::printf("%s\n", options.json ? status.dump().c_str() : StatusText(status).c_str());
  return kDone;
}

}  // namespace

void AddStatusCommand(CLI::App& app, Options& options) {
  app.add_subcommand("status", "show the machine, its service, sessions, processes and device")->callback([&options] {
    options.action = [&options] { return Status(options); };
  });
}

}  // namespace tool
