// Fault status codes on the wire against the runtime's status codes.
#pragma once

#include <cstdint>

#include "platform/host/rpc/rpc_types.h"

namespace host::rpc {

// What a client's call ends with. A status that is no protocol code comes out unchanged; it is never 0.
RPC_STATUS StatusFromFault(std::uint32_t fault);

// The fault for a status that a server routine raised: the protocol's own code where it has one, else the status.
std::uint32_t FaultFromStatus(RPC_STATUS status);

}  // namespace host::rpc
