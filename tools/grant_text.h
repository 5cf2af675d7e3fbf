// The device's two tables as people read them. Pure functions.
#pragma once

#include <string>

#include "tools/registry_path.h"

namespace tool {

// What a value of the capability table grants: "0x00000001, may run commands as system". A value that the service does
// not take says so: "sz 1, counts as absent: not a dword".
std::string GrantText(const RegistryValue& value);

// The program and the fixed parameters of an entry of the allow-list: "/usr/bin/id -u"; for a value that
// the service does not take, why it counts as absent.
std::string CommandText(const RegistryValue& value);

}  // namespace tool
