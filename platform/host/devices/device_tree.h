// The device nodes of the machine, as they lie in the registry.
//
// HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\<enumerator>\<device>\<instance> is a node; its instance identifier
// is what follows "Enum\". Value "Service" names the service that drives it, "Driver" its software key below
// HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Class. A node is present while it has the volatile subkey
// "Control". Any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/host/base/types.h"

namespace host {

inline constexpr const char16_t* kEnumKey = u"System\\CurrentControlSet\\Enum";
inline constexpr const char16_t* kClassKey = u"System\\CurrentControlSet\\Control\\Class";

struct DeviceNode {
  std::u16string id;
  std::u16string service;
  std::u16string driver;
  bool present = false;
};

// Every node, in the order of the upper-cased names: all of one moment. Returns 0, or the registry's code.
DWORD ListDeviceNodes(std::vector<DeviceNode>* nodes);

// What a boot does: makes every node present but those with the value "Unplugged" 1. A machine without any node tree
// gets its own device first: "ACPI\QVX04A7\0" of the service "hkd04a7", with an empty software key. Returns 0, or the
// registry's code; nothing has changed then.
DWORD BootDeviceNodes();

}  // namespace host
