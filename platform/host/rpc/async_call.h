// What stands behind RPC_ASYNC_STATE::RuntimeInfo: one asynchronous call, on the server or on the client. The flat
// functions (RpcAsyncCompleteCall, RpcAsyncAbortCall, RpcAsyncCancelCall, RpcAsyncGetCallStatus, RpcServerTestCancel)
// hand on to it; what a side has no use for answers RPC_S_INVALID_ASYNC_CALL.
#pragma once

#include "platform/host/rpc/rpc_async.h"

namespace host::rpc {

class AsyncCall {
 public:
  AsyncCall() = default;
  AsyncCall(const AsyncCall&) = delete;
  AsyncCall& operator=(const AsyncCall&) = delete;
  virtual ~AsyncCall() = default;

  // May end the object's life and, on the server, that of `asyncState`.
  virtual RPC_STATUS Complete(PRPC_ASYNC_STATE asyncState, void* reply) = 0;
  virtual RPC_STATUS Abort(PRPC_ASYNC_STATE asyncState, ULONG exceptionCode);
  virtual RPC_STATUS Cancel(PRPC_ASYNC_STATE asyncState, bool abort);
  virtual RPC_STATUS Status();
  virtual RPC_STATUS TestCancel();
};

}  // namespace host::rpc
