// The subcommands, by file. Each function adds its commands to the command line; a command chosen there sets
// Options::action. `options` outlives the parsing and the action.
#pragma once

#include "tools/options.h"

namespace CLI {
class App;
}

namespace tool {

void AddWatchCommand(CLI::App& app, Options& options);           // watch
void AddDeviceSessionCommands(CLI::App& app, Options& options);  // call, wakeup
void AddAppServiceCommands(CLI::App& app, Options& options);     // app register, unregister, query
void AddRunAsSystemCommand(CLI::App& app, Options& options);     // run-as-system
void AddExplainCommand(CLI::App& app, Options& options);         // explain

// Windows only.
void AddServiceInstallCommands(CLI::App& app, Options& options);  // service install, uninstall
void AddServiceControlCommands(CLI::App& app, Options& options);  // start, stop, query

// Host only: --machine and the commands that drive the simulated machine.
void AddHostCommands(CLI::App& app, Options& options);
void AddMachineCommands(CLI::App& app, Options& options);   // up, down, reboot, settle
void AddStatusCommand(CLI::App& app, Options& options);     // status
void AddServiceCommands(CLI::App& app, Options& options);   // start, stop, query
void AddDeviceCommands(CLI::App& app, Options& options);    // press, sensor, ec, emergency, phone, raw
void AddPowerCommands(CLI::App& app, Options& options);     // suspend, resume
void AddSessionCommands(CLI::App& app, Options& options);   // user, logon, logoff, connect, disconnect, winlogon
void AddRunCommand(CLI::App& app, Options& options);        // run
void AddGrantCommands(CLI::App& app, Options& options);     // caps, allow
void AddPackageCommands(CLI::App& app, Options& options);   // package ...
void AddAppServeCommand(CLI::App& app, Options& options);   // app serve; after AddAppServiceCommands
void AddAppRunsCommand(CLI::App& app, Options& options);    // app runs; after AddAppServiceCommands
void AddTaskCommands(CLI::App& app, Options& options);      // task ...
void AddLogCommands(CLI::App& app, Options& options);       // log, trace
void AddRegistryCommands(CLI::App& app, Options& options);  // reg ...
void AddRoadCommand(CLI::App& app, Options& options);       // road
void AddDoctorCommand(CLI::App& app, Options& options);     // doctor
void AddDemoCommand(CLI::App& app, Options& options);       // demo

}  // namespace tool
