// suspend, resume.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "machine/device.h"
#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/power_control.h"
#include "tools/report.h"

namespace tool {
namespace {

constexpr std::chrono::seconds kPowerPatience{60};

// The three resume notifications, by the names of their event types.
const std::map<std::string, unsigned> kNotifications = {{"critical", 6}, {"suspend", 7}, {"automatic", 18}};

}  // namespace

int Suspend(const Options& options) {
  const MachineRequest request{"suspend", "the machine", "hkd04a7ctl status", kPowerPatience};
  return CallMachine(options, request, nlohmann::json{{"op", "power.suspend"}}, nullptr);
}

int Resume(const Options& options, const ResumeRequest& resume) {
  const std::string tried = "resume";
  if (int code = RequireMachine(options, tried); code != kDone) return code;
  std::string error;
  const auto device = machine::Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device == nullptr) return Report(options, kFailed, {tried, error, 0, ""});
  device->SetWake(resume.switchWord, resume.buttonWord);
  nlohmann::json message = {{"op", "power.resume"}};
  if (!resume.notifications.empty()) message["notifications"] = resume.notifications;
  const MachineRequest request{tried, "the machine", "hkd04a7ctl status", kPowerPatience};
  return CallMachine(options, request, message, nullptr);
}

void AddPowerCommands(CLI::App& app, Options& options) {
  app.add_subcommand("suspend", "send the machine to sleep")->callback([&options] {
    options.action = [&options] { return Suspend(options); };
  });
  CLI::App* command = app.add_subcommand("resume", "wake the machine up");
  auto resume = std::make_shared<ResumeRequest>();
  command->add_option("--wake", resume->buttonWord, "what the button query says woke it, e.g. 0x40000401 (one-touch)")
      ->check(WordError);
  command->add_option("--wake-switch", resume->switchWord, "what the switch query says woke it")->check(WordError);
  command
      ->add_option("--notifications", resume->notifications,
                   "the resume notifications in their order, any of automatic, suspend, critical (default: automatic, "
                   "suspend)")
      ->transform(CLI::CheckedTransformer(kNotifications, CLI::ignore_case))
      ->delimiter(',');
  command->callback([&options, resume] { options.action = [&options, resume] { return Resume(options, *resume); }; });
}

}  // namespace tool
