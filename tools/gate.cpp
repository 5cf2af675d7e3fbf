#include "tools/gate.h"

#include "platform/rpc.h"
#include "tools/gate_advice.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

constexpr std::uint32_t kAccessDenied = 0x80070005;
constexpr std::uint32_t kNotImplemented = 0x80004001;

std::string StateText(TableEntry entry, const char* type, const char* refuses, const char* grants) {
  switch (entry) {
    case TableEntry::Absent:
      return "absent";
    case TableEntry::OtherType:
      return std::string("not of type ") + type + ", which counts as absent";
    case TableEntry::Refuses:
      return refuses;
    case TableEntry::Grants:
      return grants;
  }
  return "";
}

Gate TableGate(const char* name, const RunFacts& facts, const char* subKey, const std::string& value) {
  const std::string softwareKey = facts.softwareKey.value_or("");
  return {name, softwareKey.empty() ? "" : softwareKey + '\\' + subKey, value};
}

Gate CapabilityGate(const RunFacts& facts) {
  Gate gate = TableGate("capability bit", facts, kCapabilitySubKey, facts.package);
  if (facts.package.empty()) {
    gate.state = "this process has no package family name, and none but packages are granted it";
    gate.next = PackageAdvice(facts.command);
  } else if (!facts.softwareKey) {
    gate.state = "no device is present, so there is no key to look in";
  } else {
    gate.state = StateText(facts.capability, "REG_DWORD", "bit 0 is clear", "bit 0 is set");
    gate.next = GrantAdvice(gate.key, facts.package);
  }
  return gate;
}

Gate AllowListGate(const RunFacts& facts) {
  Gate gate = TableGate("allow-list", facts, kCommandSubKey, facts.command);
  gate.state = facts.softwareKey ? StateText(facts.allowed, "REG_MULTI_SZ", "it names no program", "it names a program")
                                 : "no device is present, so there is no key to look in";
  if (facts.softwareKey) gate.next = AllowAdvice(gate.key, facts.command);
  return gate;
}

}  // namespace

RunFacts ReadRunFacts(const WideString& command) {
  const WideString package = OwnPackage();
  RunFacts facts{ToNarrow(package), ToNarrow(command), std::nullopt};
  const std::optional<WideString> softwareKey = FindSoftwareKey();
  if (!softwareKey) return facts;
  facts.softwareKey = "HKLM\\" + ToNarrow(*softwareKey);
  if (!package.empty()) facts.capability = ReadCapability(*softwareKey, package);
  facts.allowed = ReadCommand(*softwareKey, command);
  return facts;
}

Gate GateOf(const client::Status& status) {
  if (status.rpc != RPC_S_ACCESS_DENIED) return {};
  Gate gate{"endpoint descriptor"};
  gate.state = "it admits everyone, but processes in an app container only with the hardware-settings capability";
  return gate;
}

Gate GateOfRun(const client::Status& status, const RunFacts& facts) {
  if (status.FromRuntime()) return GateOf(status);
  const bool granted = !facts.package.empty() && facts.capability == TableEntry::Grants;
  if (status.Code() == kAccessDenied && !granted) return CapabilityGate(facts);
  if (status.Code() == kNotImplemented && facts.allowed != TableEntry::Grants) return AllowListGate(facts);
  return {};
}

std::string GateText(const Gate& gate) {
  std::string text = gate.name + ": ";
  if (!gate.key.empty() && !gate.value.empty()) text += gate.key + ", value \"" + gate.value + "\": ";
  return text + gate.state;
}

}  // namespace tool
