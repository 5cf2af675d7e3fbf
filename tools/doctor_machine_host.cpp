#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "machine/device.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "tools/doctor_machine.h"
#include "tools/doctor_names.h"
#include "tools/doctor_registry.h"
#include "tools/machine_call.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

using nlohmann::json;

constexpr std::uint32_t kRefusedAnswer = 0x80000000;

TaskFact TaskOf(const json& task) {
  TaskFact fact;
  fact.path = task.at("path").get<std::string>();
  fact.enabled = task.at("enabled").get<bool>();
  fact.allowDemandStart = task.at("allowDemandStart").get<bool>();
  fact.instances = task.at("instances").get<std::string>();
  fact.account = task.at("account").get<std::string>();
  fact.program = task.at("program").get<std::string>();
  fact.programExists = ProgramExists(fact.program);
  return fact;
}

PackageFact PackageOf(const json& package) {
  PackageFact fact = {
      package.at("package").get<std::string>(), package.at("users").get<std::vector<std::string>>(), {}};
  for (const json& service : package.at("services")) fact.services.push_back(service.at("name").get<std::string>());
  return fact;
}

UserFact UserOf(const json& user) {
  return {user.at("user").get<std::string>(), user.at("sid").get<std::string>(), false};
}

ServiceFact ServiceOf(const json& service) {
  ServiceFact fact;
  fact.program = service.at("program").get<std::string>();
  fact.startType = service.at("startType").get<std::uint32_t>();
  fact.programExists = ProgramExists(fact.program);
  const std::string folder = std::filesystem::path(fact.program).parent_path().string() + '/';
  fact.hasDeviceLibrary = ProgramExists(folder + "hkd04a7-utility.dll");
  fact.hasTracingLibrary = ProgramExists(folder + "hkd04a7-utility-etw.dll");
  return fact;
}

// The elements of `member` in the answer to `op`. Nothing when there is no answer of that form.
template <typename Fact>
std::optional<std::vector<Fact>> Ask(const char* op, const char* member, Fact (*read)(const json&)) {
  json answer;
  if (host::MachineLink::Instance().Call(json{{"op", op}}, &answer) != ERROR_SUCCESS) return std::nullopt;
  try {
    std::vector<Fact> facts;
    for (const json& element : answer.at(member)) facts.push_back(read(element));
    return facts;
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

std::string SidOf(const json& session) {
  return session.at("sid").get<std::string>();
}

std::optional<std::vector<UserFact>> AskUsers() {
  auto users = Ask("user.list", "users", UserOf);
  const auto loggedOn = Ask("session.list", "sessions", SidOf);
  if (!users || !loggedOn) return std::nullopt;
  for (UserFact& user : *users)
    user.loggedOn = std::find(loggedOn->begin(), loggedOn->end(), user.sid) != loggedOn->end();
  return users;
}

std::optional<std::vector<ServiceFact>> AskService() {
  json answer;
  if (host::MachineLink::Instance().Call(json{{"op", "service.list"}}, &answer) != ERROR_SUCCESS) return std::nullopt;
  try {
    std::vector<ServiceFact> facts;
    for (const json& service : answer.at("services"))
      if (service.at("name") == "Hkd04a7DriverUtilityService") facts.push_back(ServiceOf(service));
    return facts;
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

std::optional<bool> AskScheduler() {
  json status;
  if (host::MachineLink::Instance().Call(json{{"op", "machine.status"}}, &status) != ERROR_SUCCESS) return std::nullopt;
  try {
    return status.at("tasks").at("running").get<bool>();
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

// A capability word as the service takes it: an answer that is scripted for good counts before the device's own.
std::uint32_t Capability(const machine::DeviceMap& map, const machine::DeviceFunction& call, std::uint32_t own) {
  machine::DeviceAnswer answer = {1, own};
  for (const machine::DeviceScript& script : map.scripts)
    if (script.used != 0 && script.call == call && script.hasLasting != 0) answer = script.lasting;
  return answer.success != 0 && (answer.word & kRefusedAnswer) == 0 ? answer.word : 0;
}

std::optional<DeviceSources> ReadDevice() {
  const auto mapping = machine::DeviceMapping::OpenExisting(host::CurrentMachineDirectory().runtime, nullptr);
  if (mapping == nullptr) return std::nullopt;
  machine::DeviceMap& map = mapping->Map();
  const machine::DeviceLock lock(map);
  const std::uint32_t sensors = Capability(map, {0x1006, 0, 0, 0}, map.state.interruptCapability);
  DeviceSources sources;
  sources.appSwitch = Capability(map, {0x1000, 0, 0, 0}, map.state.switchCapability) != 0;
  sources.buttons = (Capability(map, {0x1002, 0, 0, 0}, map.state.buttonCapability) & 0x3) != 0;
  sources.accelerationSensor = (sensors & 0x1) != 0;
  sources.embeddedController = (sensors & 0x80) != 0;
  sources.emergency = (Capability(map, {0x1009, 0, 0, 0}, map.state.emergencyCapability) & 0x3) != 0;
  sources.phonePc = (Capability(map, {0x100F, 0, 0, 0}, map.state.phonePcCapability) & 0x1) != 0;
  sources.function1015 = Capability(map, {0x1015, 4, 0, 0}, map.state.function1015Capability) != 0;
  sources.function101CCount = Capability(map, {0x101C, 3, 0, 0}, map.state.function101CCount);
  return sources;
}

}  // namespace

MachineFacts AskMachine() {
  MachineFacts facts;
  facts.isUp = MachineIsUp();
  if (!facts.isUp) return facts;
  facts.tasks = Ask("task.list", "tasks", TaskOf);
  facts.schedulerRuns = AskScheduler();
  facts.packages = Ask("package.list", "packages", PackageOf);
  facts.users = AskUsers();
  facts.services = AskService();
  facts.device = ReadDevice();
  return facts;
}

}  // namespace tool::doctor
