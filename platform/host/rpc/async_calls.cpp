#include "platform/host/rpc/async_call.h"

namespace host::rpc {

RPC_STATUS AsyncCall::Abort(PRPC_ASYNC_STATE, ULONG) {
  return RPC_S_INVALID_ASYNC_CALL;
}
RPC_STATUS AsyncCall::Cancel(PRPC_ASYNC_STATE, bool) {
  return RPC_S_INVALID_ASYNC_CALL;
}
RPC_STATUS AsyncCall::Status() {
  return RPC_S_INVALID_ASYNC_CALL;
}
RPC_STATUS AsyncCall::TestCancel() {
  return RPC_S_INVALID_ASYNC_CALL;
}

namespace {

// The call that `asyncState` stands for; null where it was not initialised or no call has been started with it.
AsyncCall* CallOf(PRPC_ASYNC_STATE asyncState) {
  if (asyncState == nullptr || asyncState->Size != sizeof(RPC_ASYNC_STATE)) return nullptr;
  return static_cast<AsyncCall*>(asyncState->RuntimeInfo);
}

}  // namespace

}  // namespace host::rpc

RPC_STATUS RpcAsyncInitializeHandle(PRPC_ASYNC_STATE asyncState, unsigned int size) {
  if (asyncState == nullptr || size != sizeof(RPC_ASYNC_STATE)) return RPC_S_INVALID_ARG;
  *asyncState = {};
  asyncState->Size = size;
  return RPC_S_OK;
}

RPC_STATUS RpcAsyncCompleteCall(PRPC_ASYNC_STATE asyncState, void* reply) {
  auto* call = host::rpc::CallOf(asyncState);
  return call != nullptr ? call->Complete(asyncState, reply) : RPC_S_INVALID_ASYNC_HANDLE;
}

RPC_STATUS RpcAsyncAbortCall(PRPC_ASYNC_STATE asyncState, ULONG exceptionCode) {
  auto* call = host::rpc::CallOf(asyncState);
  return call != nullptr ? call->Abort(asyncState, exceptionCode) : RPC_S_INVALID_ASYNC_HANDLE;
}

RPC_STATUS RpcAsyncCancelCall(PRPC_ASYNC_STATE asyncState, BOOL abort) {
  auto* call = host::rpc::CallOf(asyncState);
  return call != nullptr ? call->Cancel(asyncState, abort != FALSE) : RPC_S_INVALID_ASYNC_HANDLE;
}

RPC_STATUS RpcAsyncGetCallStatus(PRPC_ASYNC_STATE asyncState) {
  auto* call = host::rpc::CallOf(asyncState);
  return call != nullptr ? call->Status() : RPC_S_INVALID_ASYNC_HANDLE;
}
