// demo: brings a machine, the service and two clients up and plays everything.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/commands.h"
#include "tools/demo/demo.h"
#include "tools/exit_codes.h"
#include "tools/signals.h"

namespace tool {
namespace {

int RunDemo(const Options& options, bool chosen, bool once) {
  Demo demo(options);
  const int code = demo.Play(chosen);
  if (Interrupted()) return kInterrupted;
  return once || code != kDone ? code : demo.StayUp();
}

}  // namespace

void AddDemoCommand(CLI::App& app, Options& options) {
  CLI::App* command =
      app.add_subcommand("demo", "bring up a machine, the service and two clients, and play everything");
  auto once = std::make_shared<bool>(false);
  command->add_flag("--once", *once, "end by itself; exit code 0 only if everything was as expected");
  command->callback([&app, &options, once] {
    options.action = [&app, &options, once] { return RunDemo(options, app.count("--machine") != 0, *once); };
  });
}

}  // namespace tool
