// Which packages may make the calls that can do harm: a table of capability bits by package family name, in the
// device's software key.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The subkey of the device's software key that holds the table.
inline constexpr const WCHAR* kRestrictedRpcKey = W("Extension\\RestrictedRpc");

// Capability bits. The others grant nothing.
inline constexpr DWORD kCapabilityRunFileAsSystem = 0x00000001;

// Whether the client of the call that this thread serves may call Hkd04a7Rpc_RunFileAsSystem. Called with no
// impersonation in force, and returns with none. The table is read with the service's own identity, anew each time;
// anything that cannot be found out refuses. Throws nothing.
bool CanRpcClientUseDangerousHkd04a7RpcApi();

}  // namespace Quorvex::PC::Hkd04a7::Service
