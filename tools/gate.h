// Which gate of the service refused a call, and what decides there.
#pragma once

#include <optional>
#include <string>

#include "client/status.h"
#include "platform/types.h"
#include "tools/software_key.h"

namespace tool {

struct Gate {
  std::string name;   // "endpoint descriptor", "capability bit", "allow-list"; empty: no gate refused
  std::string key;    // the registry key that decides, as `reg` takes it; empty where the registry does not
  std::string value;  // the value's name there
  std::string state;  // what is there now, or what the gate asks for
  std::string next;   // what would open it
};

// What the gates of a run-as-system request look at.
struct RunFacts {
  std::string package;  // of this process; empty for none
  std::string command;
  std::optional<std::string> softwareKey;  // none: no device
  TableEntry capability = TableEntry::Absent;
  TableEntry allowed = TableEntry::Absent;
};

// Reads the facts about a request of this process, as the service would now. Both tables are read with this process's
// rights.
RunFacts ReadRunFacts(const WideString& command);

// The gate that a call other than run-as-system was refused by. Pure.
Gate GateOf(const client::Status& status);
// That of a run-as-system request. Where the facts say that the gate is open, it is not the one that refused. Pure.
Gate GateOfRun(const client::Status& status, const RunFacts& facts);

// "capability bit: HKLM\...\Extension\RestrictedRpc, value "Name": absent". Pure.
std::string GateText(const Gate& gate);

}  // namespace tool
