// The state of one asynchronous call, and the calls that act on it from either side.
#pragma once

#include "platform/host/rpc/rpc_types.h"

enum RPC_NOTIFICATION_TYPES {
  RpcNotificationTypeNone,
  RpcNotificationTypeEvent,
  RpcNotificationTypeApc,
  RpcNotificationTypeIoc,
  RpcNotificationTypeHwnd,
  RpcNotificationTypeCallback
};

enum RPC_ASYNC_EVENT { RpcCallComplete, RpcSendComplete, RpcReceiveComplete };

struct RPC_ASYNC_STATE;
using PRPC_ASYNC_STATE = RPC_ASYNC_STATE*;
using PFN_RPCNOTIFICATION_ROUTINE = void (*)(RPC_ASYNC_STATE* asyncState, void* context, RPC_ASYNC_EVENT event);

// On the client the caller owns it and keeps it where it is until RpcAsyncCompleteCall; on the server it is the
// runtime's and ends with RpcAsyncCompleteCall or RpcAsyncAbortCall.
struct RPC_ASYNC_STATE {
  unsigned int Size;
  ULONG Signature;
  LONG Lock;
  ULONG Flags;
  void* StubInfo;
  void* UserInfo;     // the caller's own
  void* RuntimeInfo;  // the call: a host::rpc::AsyncCall
  RPC_ASYNC_EVENT Event;
  RPC_NOTIFICATION_TYPES NotificationType;
  union {
    HANDLE hEvent;
    PFN_RPCNOTIFICATION_ROUTINE NotificationRoutine;
  } u;
  LONG_PTR Reserved[4];
};

// Makes `asyncState` ready for one call; the caller then sets NotificationType (None, Event or Callback) and u.
// RPC_S_INVALID_ARG for a null state or another size than that of RPC_ASYNC_STATE.
RPC_STATUS RpcAsyncInitializeHandle(PRPC_ASYNC_STATE asyncState, unsigned int size);

// Server: sends the reply, the 32-bit result at `reply` with the [out] parameters as they now stand. Client: stores the
// result of a finished call at `reply` and its [out] parameters at their locations, and ends the call; the answer is
// the call's status, RPC_S_CALL_IN_PROGRESS while it has not ended. RPC_S_INVALID_ASYNC_HANDLE for a state without a
// call.
RPC_STATUS RpcAsyncCompleteCall(PRPC_ASYNC_STATE asyncState, void* reply);

// Server: answers the call with a fault that carries `exceptionCode` to the client unchanged.
RPC_STATUS RpcAsyncAbortCall(PRPC_ASYNC_STATE asyncState, ULONG exceptionCode);

// Client: tells the server that the call is no longer wanted. With `abort` the call ends here at once, status
// RPC_S_CALL_CANCELLED; otherwise it ends when the server answers. Either way RpcAsyncCompleteCall still follows.
RPC_STATUS RpcAsyncCancelCall(PRPC_ASYNC_STATE asyncState, BOOL abort);

// Client: RPC_S_CALL_IN_PROGRESS, or the status with which the call ended.
RPC_STATUS RpcAsyncGetCallStatus(PRPC_ASYNC_STATE asyncState);

// The handle of the call, for RpcServerTestCancel.
inline RPC_BINDING_HANDLE RpcAsyncGetCallHandle(PRPC_ASYNC_STATE asyncState) {
  return asyncState->RuntimeInfo;
}
