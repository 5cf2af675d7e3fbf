// The service itself: whether it is there, whether its libraries are, and what its own values say.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "tools/doctor_names.h"
#include "tools/doctor_rules.h"
#include "tools/registry_path.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

constexpr std::uint32_t kAutomaticStart = 2;
constexpr std::uint32_t kDisabledStart = 4;
constexpr std::uint32_t kLongDelay = 60'000;
// Room for the version, the terminator included.
constexpr std::size_t kVersionRoom = 100;

const RegistryKey::Named* FindValue(const std::vector<RegistryKey::Named>& values, WideStringView name) {
  for (const RegistryKey::Named& value : values)
    if (SameName(value.name, name)) return &value;
  return nullptr;
}

std::optional<std::uint32_t> ReadDword(const RegistryValue& value) {
  std::uint32_t number = 0;
  if (value.type != REG_DWORD || value.data.size() != sizeof number) return std::nullopt;
  std::memcpy(&number, value.data.data(), sizeof number);
  return number;
}

Findings WhatTheMachineDoesNotTell(const Snapshot& snapshot) {
  if (!snapshot.machine.isUp)
    return {{Severity::Note,
             {},
             "no machine is up: its service, tasks, packages, users and device were not looked at",
             "hkd04a7ctl up"}};
  std::string unknown;
  if (!snapshot.machine.tasks) unknown += " tasks";
  if (!snapshot.machine.packages) unknown += " packages";
  if (!snapshot.machine.users) unknown += " users";
  if (!snapshot.machine.services) unknown += " services";
  if (!snapshot.machine.device) unknown += " device";
  if (unknown.empty()) return {};
  return {{Severity::Note, {}, "the machine did not answer about these, which were not looked at:" + unknown}};
}

Findings ServiceMissing(const Snapshot& snapshot) {
  if (!snapshot.machine.services || !snapshot.machine.services->empty()) return {};
  return {{Severity::Error, {}, "no service Hkd04a7DriverUtilityService is configured", "hkd04a7ctl up configures it"}};
}

Findings ServiceProgram(const Snapshot& snapshot) {
  Findings found;
  for (const ServiceFact& service : snapshot.machine.services.value_or(std::vector<ServiceFact>())) {
    const std::string beside = " is missing beside " + service.program;
    if (!service.programExists)
      found.push_back({Severity::Error, {}, "the service's program is missing: " + service.program});
    if (service.programExists && !service.hasDeviceLibrary)
      found.push_back({Severity::Error, {}, "hkd04a7-utility.dll" + beside + ": the device tells no event"});
    if (service.programExists && !service.hasTracingLibrary)
      found.push_back({Severity::Warning, {}, "hkd04a7-utility-etw.dll" + beside + ": no event is traced"});
  }
  return found;
}

Findings ServiceStartType(const Snapshot& snapshot) {
  Findings found;
  for (const ServiceFact& service : snapshot.machine.services.value_or(std::vector<ServiceFact>())) {
    if (service.startType == kDisabledStart)
      found.push_back({Severity::Error, {}, "the service is disabled: it cannot be started"});
    else if (service.startType != kAutomaticStart)
      found.push_back({Severity::Note, {}, "the service is not started by a boot", "hkd04a7ctl start"});
  }
  return found;
}

// The first number of a version, after blanks and a plus; a number with a minus is no small one.
std::optional<std::uint64_t> MajorVersion(const RegistryValue& value) {
  const std::vector<std::string> words = ValueWords(value);
  std::string text = words.empty() ? "" : words[0];
  text.erase(0, std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+')) text.erase(0, 1);
  std::uint64_t number = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}

Findings OldVersion(const Snapshot& snapshot) {
  const RegistryKey::Named* version = FindValue(snapshot.registry.product, W("CurrentVersion"));
  if (version == nullptr) return {};
  const Place place = {kProductKey, 64, "CurrentVersion"};
  const bool isText = version->value.type == REG_SZ || version->value.type == REG_EXPAND_SZ;
  if (!isText || version->value.data.size() > kVersionRoom * sizeof(WCHAR))
    return {
        {Severity::Warning, place, "only a value of type sz of at most 99 characters is taken; it counts as missing"}};
  const auto number = MajorVersion(version->value);
  if (!number || *number > 3) return {};
  return {{Severity::Error, place,
           "a version up to 3 makes the service set itself to demand start and stop as soon as it is started",
           DeleteCommand(place)}};
}

Findings LogSwitch(const Snapshot& snapshot) {
  const RegistryKey::Named* log = FindValue(snapshot.registry.product, W("EnableLog"));
  const Place place = {kProductKey, 64, "EnableLog"};
  const std::string turnOn = "hkd04a7ctl reg set " + ShellWord(kProductKey) + " EnableLog 1 --type dword";
  if (log == nullptr)
    return {{Severity::Note, place, "the log is off, so nothing says why an event did not arrive", turnOn}};
  const auto on = ReadDword(log->value);
  if (!on) return {{Severity::Warning, place, "only a value of type dword is taken; the log is off", turnOn}};
  return {{Severity::Note, place,
           *on != 0 ? "the log is on" : "the log is off, so nothing says why an event did not arrive",
           *on != 0 ? "" : turnOn}};
}

Findings Delays(const Snapshot& snapshot) {
  Findings found;
  for (const RegistryKey::Named& value : snapshot.registry.utility) {
    if (!SameName(value.name, W("AppServiceDelayOnResume")) && !SameName(value.name, W("AppServiceDelayOnLogon")))
      continue;
    const Place place = {kUtilityKey, 64, ToNarrow(value.name)};
    const auto delay = ReadDword(value.value);
    if (!delay)
      found.push_back(
          {Severity::Error, place,
           "only a value of type dword is taken, and this one is of type " + TypeName(value.value.type) +
               ": there is no delay",
           "hkd04a7ctl reg set " + ShellWord(place.key) + ' ' + *place.value + " MILLISECONDS --type dword"});
    else if (*delay > kLongDelay)
      found.push_back({Severity::Warning, place,
                       "app services are told " + std::to_string(*delay / 1000) +
                           " seconds late: the value counts in "
                           "milliseconds"});
  }
  return found;
}

constexpr Rule kServiceRules[] = {
    {"not-looked-at", WhatTheMachineDoesNotTell},
    {"no-service", ServiceMissing},
    {"service-program", ServiceProgram},
    {"start-type", ServiceStartType},
    {"old-version", OldVersion},
    {"log-switch", LogSwitch},
    {"delay", Delays},
};

}  // namespace

std::span<const Rule> ServiceRules() {
  return kServiceRules;
}

}  // namespace tool::doctor
