// Catching what RpcRaiseException raises, with a compiler that has the statement for it.
#include "platform/rpc_client.h"
#include "platform/windows/rpc_status_codes.h"

extern "C" RPC_STATUS RunCatchingRpcException(void (*call)(void* context), void* context) {
  __try {
    call(context);
    return RPC_S_OK;
  } __except (IsRpcStatus(GetExceptionCode()) ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH) {
    return static_cast<RPC_STATUS>(GetExceptionCode());
  }
}
