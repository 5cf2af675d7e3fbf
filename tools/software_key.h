// The device's software key and what the service reads there about a run-as-system request, read as the service does.
#pragma once

#include <optional>
#include <string>

#include "platform/types.h"

namespace tool {

// Below the software key: capability bits by package family name, and commands by identifier.
inline constexpr const char* kCapabilitySubKey = "Extension\\RestrictedRpc";
inline constexpr const char* kCommandSubKey = "Extension\\Command";

// The key of the first present device of the driver service "hkd04a7", below HKEY_LOCAL_MACHINE:
// "System\CurrentControlSet\Control\Class\{...}\0000". Nothing when there is no such device or it has no driver.
std::optional<WideString> FindSoftwareKey();

// The package family name of this process; empty when it has none.
WideString OwnPackage();

// What stands under a name in one of the two tables of the software key.
enum class TableEntry { Absent, OtherType, Refuses, Grants };

// The capability bits of a package. Refuses: bit 0 is clear.
TableEntry ReadCapability(const WideString& softwareKey, const WideString& package);
// A command of the allow-list. Refuses: it names no program.
TableEntry ReadCommand(const WideString& softwareKey, const WideString& command);

}  // namespace tool
