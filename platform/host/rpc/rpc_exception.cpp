#include "platform/host/rpc/raised.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/rpc_client.h"

void RpcRaiseException(RPC_STATUS status) {
  throw host::rpc::Raised{status};
}

RPC_STATUS RunCatchingRpcException(void (*call)(void* context), void* context) {
  try {
    call(context);
    return RPC_S_OK;
  } catch (const host::rpc::Raised& raised) {
    return raised.status;
  }
}
