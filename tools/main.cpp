// hkd04a7ctl: drives the simulated machine and speaks to the service as a client. On Windows only the client part is
// there.
#include <CLI/CLI.hpp>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/report.h"
#include "tools/signals.h"

namespace {

void AddCommands(CLI::App& app, tool::Options& options) {
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag("--json", options.json, "one JSON object a line instead of text");
  tool::AddWatchCommand(app, options);
  tool::AddDeviceSessionCommands(app, options);
  tool::AddAppServiceCommands(app, options);
  tool::AddRunAsSystemCommand(app, options);
  tool::AddExplainCommand(app, options);
#ifndef _WIN32
  tool::AddHostCommands(app, options);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  tool::Options options;
  CLI::App app("Drives a simulated machine and speaks to its service.", "hkd04a7ctl");
  AddCommands(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // CLI11 prints the help or the message; its own codes are not ours.
    return app.exit(error) == 0 ? tool::kDone : tool::kUsage;
  }
  tool::ExitOnInterrupt();
  return tool::ReportOutput(options, options.action());
}
