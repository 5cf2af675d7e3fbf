#include "bench/road_machine.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "appservice/registration_keys.h"
#include "bench/device_control.h"
#include "platform/errors.h"
#include "platform/host/base/text.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"
#include "platform/registry.h"

namespace bench {
namespace {

using nlohmann::json;
using namespace Quorvex::PC::Hkd04a7;

constexpr const char* kService = "Hkd04a7DriverUtilityService";
constexpr const char* kPackage = "Quorvex.Bench_m3tq8v0kc2wna";
constexpr const char* kAppService = "bench";
constexpr unsigned kSwitch = 1;
constexpr std::chrono::seconds kPatience{30};
constexpr std::chrono::milliseconds kLook{1};

[[noreturn]] void GiveUp(const std::string& why) {
  std::fprintf(stderr, "road-bench: %s\n", why.c_str());
  exit(1);
}

json Ask(json request) {
  json reply;
  const std::string operation = request.at("op");
  const DWORD code = host::MachineLink::Instance().Call(std::move(request), &reply);
  if (code != ERROR_SUCCESS) GiveUp(operation + " answered " + std::to_string(code));
  return reply;
}

// This program lies in a folder of its own below the others'.
std::string ProgramBeside(const char* name) {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / name;
}

template <typename Condition>
void Await(const char* what, Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) GiveUp(std::string(what) + " did not come");
    std::this_thread::sleep_for(kLook);
  }
}

}  // namespace

RoadMachine::RoadMachine() {
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  options.keeperProgram = ProgramBeside("hkd04a7-machine");
  machine_ = std::make_unique<machine::Machine>(std::move(options));
  std::string error;
  if (!machine_->Start(&error)) GiveUp(error);
  host::SetOwnToken(host::SystemToken());
  device_ = machine::Device::Open(host::CurrentMachineDirectory().runtime, &error);
  if (device_ == nullptr) GiveUp(error);
  userSid_ = Ask({{"op", "session.logon"}, {"user", "mia"}}).at("sid");
}

RoadMachine::~RoadMachine() {
  machine_->Stop();
  host::MachineLink::Reset();
  host::CloseRegistry();
}

void RoadMachine::RegisterApp() {
  const std::u16string path =
      FormatUserAppServiceKeyPath(host::ToUtf16(userSid_), kSwitch, RegistrationScope::kEveryOccurrence, 0);
  const std::u16string name = host::ToUtf16(kAppService);
  HKEY key = nullptr;
  LSTATUS code =
      RegCreateKeyExW(HKEY_USERS, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &key, nullptr);
  if (code == ERROR_SUCCESS)
    code = RegSetValueExW(key, host::ToUtf16(kPackage).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                          static_cast<DWORD>((name.size() + 1) * sizeof(WCHAR)));
  RegCloseKey(key);
  if (code != ERROR_SUCCESS) GiveUp("the registration cannot be written: " + std::to_string(code));
}

void RoadMachine::StartService(const std::string& program) {
  Ask({{"op", "service.create"},
       {"name", kService},
       {"displayName", "road bench"},
       {"program", program},
       {"arguments", json::array({"-service"})},
       {"startType", 3}});
  Ask({{"op", "service.start"}, {"name", kService}});
}

pid_t RoadMachine::StartServiceOfMemory() {
  StartService(ProgramBeside("bench/hkd04a7-service"));
  Await("the service's device wait", [] { return DeviceControl().clients == 1; });
  return Ask({{"op", "service.query"}, {"name", kService}}).at("pid");
}

void RoadMachine::EndService() {
  Ask({{"op", "service.stop"}, {"name", kService}});
  Await("the service's end", [] { return Ask({{"op", "service.query"}, {"name", kService}}).at("pid") == 0; });
  Ask({{"op", "service.delete"}, {"name", kService}});
}

void RoadMachine::StartServiceAndApp() {
  RegisterApp();
  Ask({{"op", "package.add"}, {"package", kPackage}, {"service", {{"name", kAppService}}}});
  StartService(ProgramBeside("hkd04a7-service"));
  Await("the service's device wait", [this] { return !device_->Counts().waiters.empty(); });
  Ask({{"op", "journal.read"}});
  recorder_ = std::make_unique<tool::RoadRecorder>(*device_);
  // The first message starts the app service's program, which every later one finds running.
  PressAndAwaitReceipt();
}

double RoadMachine::PressAndAwaitReceipt() {
  if (!device_->Press(kSwitch)) GiveUp("the device took no press");
  std::int64_t created = 0;
  std::int64_t received = 0;
  Await("the app service's receipt", [&] {
    for (const tool::RoadEntry& entry : recorder_->Collect().entries) {
      if (entry.station == tool::Station::User) created = entry.at - entry.took;
      if (entry.station == tool::Station::AppService && received == 0) received = entry.at;
    }
    return created != 0 && received != 0;
  });
  return static_cast<double>(received - created) / 1e6;
}

}  // namespace bench
