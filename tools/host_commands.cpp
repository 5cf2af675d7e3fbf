// The choice of the machine, and everything that needs one.
#include <CLI/CLI.hpp>
#include <string>

#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"

namespace tool {

void AddHostCommands(CLI::App& app, Options& options) {
  // At once, while no other thread runs: what follows, children too, belongs to that machine.
  auto choose = [](const std::string& directory) { host::UseMachineDirectory(directory); };
  app.add_option_function<std::string>("--machine", choose, "the machine's directory (default: the user's own machine)")
      ->type_name("DIR")
      ->check([](const std::string& directory) { return directory.empty() ? "names no directory" : std::string(); });
  AddMachineCommands(app, options);
  AddStatusCommand(app, options);
  AddServiceCommands(app, options);
  AddDeviceCommands(app, options);
  AddPowerCommands(app, options);
  AddSessionCommands(app, options);
  AddRunCommand(app, options);
  AddGrantCommands(app, options);
  AddPackageCommands(app, options);
  AddAppServeCommand(app, options);
  AddAppRunsCommand(app, options);
  AddTaskCommands(app, options);
  AddLogCommands(app, options);
  AddRegistryCommands(app, options);
  AddRoadCommand(app, options);
  AddDoctorCommand(app, options);
  AddDemoCommand(app, options);
}

}  // namespace tool
