// hkd04a7ctl: drives the simulated machine and speaks to the service as a client. On Windows there is the client part,
// and what installs and controls the service.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string_view>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/report.h"
#include "tools/signals.h"
#ifndef _WIN32
#include "tools/standard_streams.h"
#endif

namespace {

#ifdef _WIN32
constexpr const char* kAbout = "Installs and controls the service, and speaks to it.";
#else
constexpr const char* kAbout = "Drives a simulated machine and speaks to its service.";
#endif

void AddCommands(CLI::App& app, tool::Options& options) {
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag("--json", options.json, "one JSON object a line instead of text");
  tool::AddWatchCommand(app, options);
  tool::AddDeviceSessionCommands(app, options);
  tool::AddAppServiceCommands(app, options);
  tool::AddRunAsSystemCommand(app, options);
  tool::AddExplainCommand(app, options);
#ifdef _WIN32
  tool::AddServiceInstallCommands(app, options);
  tool::AddServiceControlCommands(app, options);
#else
  tool::AddHostCommands(app, options);
#endif
}

// CLI11 prints the help or the message; its own codes are not ours.
int ReportUsage(const CLI::App& app, const CLI::ParseError& error) {
  if (app.exit(error) == 0) return tool::kDone;
  const bool dash = std::string_view(error.what()).find(" -") != std::string_view::npos;
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && dash)
    std::fputs("A value that begins with a dash goes behind \"--\".\n", stderr);
  return tool::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
#ifndef _WIN32
  tool::OpenStandardStreams();
#endif
  tool::Options options;
  CLI::App app(kAbout, "hkd04a7ctl");
  AddCommands(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return ReportUsage(app, error);
  }
  tool::ExitOnInterrupt();
  return tool::ReportOutput(options, options.action());
}
