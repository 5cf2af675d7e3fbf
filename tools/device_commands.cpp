// press, sensor, ec, emergency, phone, raw: what happens at the device.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "machine/device.h"
#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/report.h"

namespace tool {
namespace {

using machine::Device;
using Action = std::function<bool(Device&)>;

constexpr const char* kSetWord = "an answer word with bit 0 set is an event; default 1";

int Refused(const Options& options, const std::string& tried) {
  return Report(options, kFailed,
                {tried, "the device took nothing (out of range, or 256 answers of this kind are pending)", 0,
                 "check the number; hkd04a7ctl status shows what the device is waiting for"});
}

// What was raised since there were `before` notifications, and a word when nobody is there to be told.
void ShowRaised(const Options& options, Device& device, std::uint64_t before) {
  const machine::DeviceCounts counts = device.Counts();
  if (options.json) {
    const nlohmann::json shown = {{"notifications", counts.notificationsRaised}, {"waiters", counts.waiters.size()}};
    std::printf("%s\n", shown.dump().c_str());
    return;
  }
  if (counts.notificationsRaised == before) {
    std::printf("done; no notification raised\n");
    return;
  }
  std::printf("notification %llu raised%s\n", static_cast<unsigned long long>(counts.notificationsRaised),
              counts.waiters.empty() ? "; nobody waits for the device (is the service running?)" : "");
}

int ActOnDevice(const Options& options, const std::string& tried, const Action& act) {
  if (int code = RequireMachine(options, tried); code != kDone) return code;
  std::string error;
  const std::unique_ptr<Device> device = Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device == nullptr) return Report(options, kFailed, {tried, error, 0, "hkd04a7ctl status"});
  const std::uint64_t before = device->Counts().notificationsRaised;
  if (!act(*device)) return Refused(options, tried);
  ShowRaised(options, *device, before);
  return kDone;
}

void AddPress(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("press", "press a button of the device");
  auto button = std::make_shared<std::string>();
  command->add_option("button", *button, "application switch 1 to 31, one-touch, ir, or a mask of switches as 0x...")
      ->required()
      ->check(CLI::Validator(ButtonError, "BUTTON"));
  command->callback([&options, button] {
    options.action = [&options, button] {
      return ActOnDevice(options, "press " + *button,
                         [button](Device& device) { return Press(device, *ParseButton(*button)); });
    };
  });
}

void AddWord(CLI::App& app, Options& options, const char* name, const char* help,
             bool (Device::*report)(std::uint32_t)) {
  CLI::App* command = app.add_subcommand(name, help);
  auto word = std::make_shared<std::uint32_t>(1);
  command->add_option("word", *word, kSetWord)->check(WordError);
  command->callback([&options, word, report, tried = std::string("raise ") + name] {
    options.action = [&options, word, report, tried] {
      return ActOnDevice(options, tried, [word, report](Device& device) { return (device.*report)(*word); });
    };
  });
}

void AddPhone(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("phone", "phone-PC data control: sets bits of its mask");
  auto mask = std::make_shared<std::uint32_t>();
  auto answers = std::make_shared<std::vector<std::string>>();
  auto check = [](std::string& text) { return ParseBitAnswer(text) ? std::string() : "not BIT=WORD: " + text; };
  command->add_option("mask", *mask, "bits 0 to 30")->required()->check(WordError);
  command->add_option("--answer", *answers, "what a bit answers from now on")->check(CLI::Validator(check, "BIT=WORD"));
  command->callback([&options, mask, answers] {
    options.action = [&options, mask, answers] {
      return ActOnDevice(options, "raise phone-PC data control", [mask, answers](Device& device) {
        for (const std::string& answer : *answers) {
          const BitAnswer parsed = *ParseBitAnswer(answer);
          if (!device.SetPhonePcAnswer(parsed.bit, parsed.word)) return false;
        }
        return device.PhonePc(*mask);
      });
    };
  });
}

bool Script(Device& device, const RawScript& script, bool raise) {
  if (!device.Script(script.call, script.answers, script.lasting)) return false;
  if (raise) device.Raise();
  return true;
}

void AddRaw(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("raw", "script what the device answers to one function call");
  auto words = std::make_shared<std::vector<std::string>>();
  auto raise = std::make_shared<bool>(false);
  command
      ->add_option("script", *words,
                   "FUNCTION ARG1 ARG2 ARG3 = ANSWER...: each answer is given once; \"fail\" is a call that fails; "
                   "\"always\" before the last makes it stay")
      ->required();
  command->add_flag("--notify", *raise, "raise a notification afterwards");
  command->callback([&options, words, raise] {
    auto script = ParseRawScript(*words);
    if (!script) throw CLI::ValidationError("raw", "expected FUNCTION ARG1 ARG2 ARG3 = ANSWER...");
    options.action = [&options, script = *script, raise] {
      return ActOnDevice(options, "script the device's answers",
                         [&script, raise](Device& device) { return Script(device, script, *raise); });
    };
  });
}

}  // namespace

void AddDeviceCommands(CLI::App& app, Options& options) {
  AddPress(app, options);
  AddWord(app, options, "sensor", "acceleration sensor interrupt", &Device::Sensor);
  AddWord(app, options, "ec", "embedded-controller interrupt", &Device::Ec);
  AddWord(app, options, "emergency", "emergency notification", &Device::Emergency);
  AddPhone(app, options);
  AddRaw(app, options);
}

}  // namespace tool
