// The device's two tables: which packages may run commands as system, and which commands there are.
#include "tools/doctor_names.h"
#include "tools/doctor_rules.h"
#include "tools/grant_text.h"
#include "tools/software_key.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

// Room for the client's package family name, the terminator included.
constexpr std::size_t kPackageRoom = 64;

Place RowPlace(const Snapshot& snapshot, const char* table, const WideString& name) {
  return {snapshot.registry.softwareKey + '\\' + table, 64, ToNarrow(name)};
}

Findings Capabilities(const Snapshot& snapshot) {
  Findings found;
  for (const RegistryKey::Named& row : snapshot.registry.capabilities) {
    const Place place = RowPlace(snapshot, kCapabilitySubKey, row.name);
    const std::string next = "hkd04a7ctl caps grant " + ShellWord(ToNarrow(row.name));
    if (row.value.type != REG_DWORD || row.value.data.size() != sizeof(DWORD))
      found.push_back({Severity::Error, place, GrantText(row.value) + "; the package is refused", next});
    else if ((row.value.data[0] & 1) == 0)
      found.push_back({Severity::Note, place, GrantText(row.value), next});
  }
  return found;
}

Findings CapabilityNames(const Snapshot& snapshot) {
  Findings found;
  for (const RegistryKey::Named& row : snapshot.registry.capabilities) {
    const Place place = RowPlace(snapshot, kCapabilitySubKey, row.name);
    if (row.name.empty())
      found.push_back({Severity::Error, place,
                       "the key's default value names no package; nobody is granted anything by it",
                       DeleteCommand(place)});
    else if (row.name.size() >= kPackageRoom)
      found.push_back({Severity::Error, place,
                       "the name has " + std::to_string(row.name.size()) +
                           " characters; a package whose family name has more than 63 is refused"});
  }
  return found;
}

// Why the entry is of no use; empty when it is.
std::string CommandFault(const AllowedProgram& command) {
  if (command.entry.value.type != REG_MULTI_SZ) return CommandText(command.entry.value);
  if (command.program.empty()) return "counts as absent: names no program";
  if (!command.programExists) return "its program is missing: " + command.program;
  return "";
}

Findings Commands(const Snapshot& snapshot) {
  Findings found;
  for (const AllowedProgram& command : snapshot.registry.commands) {
    const std::string why = CommandFault(command);
    const std::string add = "hkd04a7ctl allow add " + ShellWord(ToNarrow(command.entry.name)) + " PROGRAM";
    if (!why.empty())
      found.push_back({Severity::Error, RowPlace(snapshot, kCommandSubKey, command.entry.name), why, add});
  }
  return found;
}

Findings RestOfCommands(const Snapshot& snapshot) {
  Findings found;
  for (const AllowedProgram& command : snapshot.registry.commands)
    if (command.entry.value.type == REG_MULTI_SZ && ValueWords(command.entry.value).size() > 2)
      found.push_back(
          {Severity::Warning, RowPlace(snapshot, kCommandSubKey, command.entry.name),
           "of its strings only the first, the program, and the second, its parameters, are taken; the rest "
           "is ignored",
           "put all parameters into the second string"});
  return found;
}

Findings DeviceMissing(const Snapshot& snapshot) {
  if (!snapshot.registry.softwareKey.empty()) return {};
  if (!snapshot.machine.isUp)
    return {{Severity::Note,
             {},
             "no device is known to be present, so the two tables of its software key were not "
             "looked at"}};
  return {{Severity::Error,
           {"HKLM\\System\\CurrentControlSet\\Enum", 64, std::nullopt},
           "no device of the driver service hkd04a7 is present, or it has no driver: no command runs as system",
           "hkd04a7ctl reg list 'HKLM\\System\\CurrentControlSet\\Enum'"}};
}

constexpr Rule kGrantRules[] = {
    {"device-missing", DeviceMissing},    {"capability", Capabilities},
    {"capability-name", CapabilityNames}, {"command", Commands},
    {"command-rest", RestOfCommands},
};

}  // namespace

std::span<const Rule> GrantRules() {
  return kGrantRules;
}

}  // namespace tool::doctor
