// doctor: what the registry and the machine hold that cannot work, and why.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "tools/commands.h"
#include "tools/doctor_machine.h"
#include "tools/doctor_registry.h"
#include "tools/doctor_rules.h"
#include "tools/doctor_text.h"
#include "tools/exit_codes.h"
#include "tools/report.h"

namespace tool {
namespace {

void Show(const Options& options, const doctor::Findings& findings) {
  for (const doctor::Finding& finding : findings) {
    const std::string text = options.json ? doctor::FindingJson(finding) : doctor::FindingText(finding) + '\n';
    std::printf("%s\n", text.c_str());
  }
  if (!options.json) std::printf("%s\n", doctor::SummaryText(findings).c_str());
}

int Examine(const Options& options) {
  doctor::Snapshot snapshot;
  std::string where;
  const LSTATUS status = doctor::TakeRegistry(&snapshot.registry, &where);
  if (status != 0)
    return Report(options, kFailed,
                  {"read the registry at \"" + where + '"', "the registry", static_cast<std::uint32_t>(status),
                   "a machine has a registry once it has been up: hkd04a7ctl up"});
  snapshot.machine = doctor::AskMachine();
  const doctor::Findings findings = doctor::Diagnose(snapshot);
  Show(options, findings);
  return doctor::HasErrors(findings) ? kFailed : kDone;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("doctor", "say what in the machine's registry cannot work, and why");
  command->footer(
      "Also looks at the machine's service, device, tasks and packages while it is up; changes nothing. Exit code 0 "
      "when everything that was looked at can work, 1 when something cannot.");
  command->callback([&options] { options.action = [&options] { return Examine(options); }; });
}

}  // namespace tool
