// The calls of the RPC runtime. All answer an RPC_STATUS, 0 for success; none touches the thread's last error.
#pragma once

#include "platform/host/rpc/rpc_types.h"

// --- Server -------------------------------------------------------------------------------------------------------

// Opens an endpoint ("ncalrpc" only), which lives as long as the process. `securityDescriptor` (may be null) is copied;
// one that is malformed or has no DACL is RPC_S_INVALID_SECURITY_DESC (1338).
// RPC_S_PROTSEQ_NOT_SUPPORTED, RPC_S_INVALID_ENDPOINT_FORMAT, RPC_S_DUPLICATE_ENDPOINT, RPC_S_CANT_CREATE_ENDPOINT.
RPC_STATUS RpcServerUseProtseqEpW(RPC_WSTR protocolSequence, unsigned int maxRequests, RPC_WSTR endpoint,
                                  void* securityDescriptor);

// Puts an interface on the air; `ifSpec` is one of the server interface handles (platform/rpc_interface.h).
// `securityDescriptor` as above.
RPC_STATUS RpcServerRegisterIf3(RPC_IF_HANDLE ifSpec, UUID* managerType, RPC_MGR_EPV* managerVector, unsigned int flags,
                                unsigned int maxCalls, unsigned int maxRpcSize, RPC_IF_CALLBACK_FN* callback,
                                void* securityDescriptor);

// Takes it off again. With `waitForCallsToComplete` it returns when no call of the interface is left.
RPC_STATUS RpcServerUnregisterIf(RPC_IF_HANDLE ifSpec, UUID* managerType, unsigned int waitForCallsToComplete);

// The bindings over which this process can be reached; the caller frees them with RpcBindingVectorFree.
// RPC_S_NO_BINDINGS when there is none.
RPC_STATUS RpcServerInqBindings(RPC_BINDING_VECTOR** bindings);
RPC_STATUS RpcBindingVectorFree(RPC_BINDING_VECTOR** bindings);  // sets *bindings to null

// Enters the interface in the machine's endpoint map, and removes it. `objects` and `annotation` may be null.
RPC_STATUS RpcEpRegisterW(RPC_IF_HANDLE ifSpec, RPC_BINDING_VECTOR* bindings, UUID_VECTOR* objects,
                          RPC_WSTR annotation);
RPC_STATUS RpcEpUnregister(RPC_IF_HANDLE ifSpec, RPC_BINDING_VECTOR* bindings, UUID_VECTOR* objects);

// Blocks while the process lives (`dontWait` 0).
RPC_STATUS RpcServerListen(unsigned int minimumCallThreads, unsigned int maxCalls, unsigned int dontWait);

// RPC_S_OK when the client has cancelled the call behind `binding` (RpcAsyncGetCallHandle) or its connection has ended,
// else RPC_S_CALL_IN_PROGRESS.
RPC_STATUS RpcServerTestCancel(RPC_BINDING_HANDLE binding);

// Has the calling thread, which serves a call, act as the call's client; `binding` null means that call, and is the
// only one supported. RPC_S_NO_CALL_ACTIVE (1725) on a thread that serves none.
RPC_STATUS RpcImpersonateClient(RPC_BINDING_HANDLE binding);

// Gives the thread its process's identity back, whether it impersonates or not. `binding` and the failure as above.
RPC_STATUS RpcRevertToSelfEx(RPC_BINDING_HANDLE binding);

// Leaves a server routine: its client gets a fault with `status`.
[[noreturn]] void RpcRaiseException(RPC_STATUS status);

// --- Client -------------------------------------------------------------------------------------------------------

// Joins the parts of a string binding, each of which may be null or empty; the caller frees the result with
// RpcStringFreeW.
RPC_STATUS RpcStringBindingComposeW(RPC_WSTR objectUuid, RPC_WSTR protocolSequence, RPC_WSTR networkAddress,
                                    RPC_WSTR endpoint, RPC_WSTR options, RPC_WSTR* stringBinding);
RPC_STATUS RpcStringFreeW(RPC_WSTR* string);  // sets *string to null

// Makes a binding handle from "ncalrpc:[endpoint]" or "ncalrpc:" (the endpoint map is asked at the first call).
// Connects at the first call. RPC_S_INVALID_STRING_BINDING, RPC_S_PROTSEQ_NOT_SUPPORTED, RPC_S_INVALID_ENDPOINT_FORMAT.
RPC_STATUS RpcBindingFromStringBindingW(RPC_WSTR stringBinding, RPC_BINDING_HANDLE* binding);

// Gives the binding up and sets *binding to null. The connection ends with its last context handle and last call.
RPC_STATUS RpcBindingFree(RPC_BINDING_HANDLE* binding);

// Drops the client's side of a context handle without a call and sets *contextHandle to null.
void RpcSsDestroyClientContext(void** contextHandle);
