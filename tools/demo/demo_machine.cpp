#include "tools/demo/demo_machine.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/registry.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/machine_control.h"
#include "tools/registry_access.h"
#include "tools/registry_commands.h"
#include "tools/report.h"

namespace tool {
namespace {

constexpr std::uint32_t kFunction101CCount = 3;

// The service's debug output is worth looking at afterwards.
int EnableLog(const Options& options) {
  RegistryKey key;
  const RegistryPath path = *ParseRegistryPath("HKLM\\Software\\Quorvex\\HKD04A7");
  LSTATUS status = key.Create(path, KEY_ALL_ACCESS, false);
  if (status == 0) status = key.Write(host::ToUtf16("EnableLog"), *ParseValue(REG_DWORD, {"1"}));
  return status == 0 ? kDone : ReportRegistry(options, "switch the service's debug output on", status);
}

}  // namespace

DemoMachine::~DemoMachine() {
  if (up_ && MachineIsUp()) StopMachine(options_);
  if (!ownDirectory_) return;
  std::error_code error;
  std::filesystem::remove_all(directory_, error);
}

int DemoMachine::ChooseDirectory(bool chosen) {
  if (chosen) {
    const char* named = std::getenv("HKD04A7_MACHINE");
    directory_ = named ? named : "";
    if (!MachineIsUp()) return kDone;
    return Report(options_, kFailed,
                  {"bring a machine up for the demo", "one is up there", 0, "hkd04a7ctl --machine DIR down"});
  }
  std::string name = std::filesystem::temp_directory_path() / "hkd04a7-demo-XXXXXX";
  if (mkdtemp(name.data()) == nullptr)
    return Report(options_, kFailed, {"make a folder for the machine", std::strerror(errno), 0, ""});
  directory_ = name;
  ownDirectory_ = true;
  host::UseMachineDirectory(directory_);
  return kDone;
}

int DemoMachine::PrepareDevice() {
  std::string error;
  device_ = machine::Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device_ == nullptr) return Report(options_, kFailed, {"open the device", error, 0, ""});
  device_->SetFunction101CCount(kFunction101CCount);
  return kDone;
}

int DemoMachine::BringUp(bool chosen) {
  if (int code = ChooseDirectory(chosen); code != kDone) return code;
  up_ = true;  // from here on something may have to be ended
  if (int code = StartMachine(options_); code != kDone) return code;
  if (int code = PrepareDevice(); code != kDone) return code;
  if (int code = EnableLog(options_); code != kDone) return code;
  if (int code = EnsureService(options_); code != kDone) return code;
  return AwaitServiceReady(options_);
}

}  // namespace tool
