// Who may reach the RPC endpoint: everyone on the machine, and packaged processes with the hardware-settings
// capability.
#pragma once

#include "common/handles.h"
#include "platform/security.h"
#include "platform/types.h"
#include "rpc/capability_sids.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The descriptor with everything it points to. Must outlive every use of `descriptor`; the RPC runtime copies it.
struct RpcSecurityDescriptor {
  SECURITY_DESCRIPTOR descriptor{};
  Common::UniqueSid everyoneSid;
  SidArray capabilitySids;  // one SID, or none when the capability could not be derived
  Common::UniqueAcl dacl;
};

// Fills `holder`, which must be fresh. False with the last error of the failing step; nothing is held then.
bool GetRpcSecurityDescriptor(RpcSecurityDescriptor& holder);

}  // namespace Quorvex::PC::Hkd04a7::Service
