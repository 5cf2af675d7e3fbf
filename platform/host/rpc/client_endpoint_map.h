// The machine's endpoint map, as a client asks it.
#pragma once

#include <string>

#include "platform/host/rpc/rpc_types.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

// The endpoint over which the interface can be reached. EPT_S_NOT_REGISTERED when nobody has registered it or no
// machine is up.
RPC_STATUS LookUpEndpoint(const InterfaceDescription& description, std::string& endpoint);

}  // namespace host::rpc
