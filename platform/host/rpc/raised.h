// How RpcRaiseException travels on the host: as a C++ exception. The server runtime catches it around a server routine
// and sends a fault; CatchRpcException (platform/rpc_client.h) catches it on the client.
#pragma once

#include "platform/host/rpc/rpc_types.h"

namespace host::rpc {

struct Raised {
  RPC_STATUS status;
};

}  // namespace host::rpc
