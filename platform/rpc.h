// Remote procedure calls: types, codes and calls of the local RPC runtime, server and client side.
#pragma once

#ifdef _WIN32
#include "platform/windows/sdk.h"
// After the main header, whose types they use.
#include <rpc.h>
#include <rpcasync.h>

// Exported by the import library and missing in the header.
extern "C" RPC_STATUS RPC_ENTRY RpcServerRegisterIf3(RPC_IF_HANDLE ifSpec, UUID* managerType, void* managerVector,
                                                     unsigned int flags, unsigned int maxCalls, unsigned int maxRpcSize,
                                                     RPC_IF_CALLBACK_FN* callback, void* securityDescriptor);
#else
#include "platform/host/rpc/rpc_async.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/rpc_types.h"
#endif
