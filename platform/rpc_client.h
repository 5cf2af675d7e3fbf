// What a client of an RPC interface needs besides the stubs: a call's failure as a status instead of an exception.
//
// A client stub that cannot do its call (no server, connection lost, fault) raises the platform's RPC exception, which
// C++ code cannot catch in every compiler. CatchRpcException runs a piece of code and answers 0, or the status with
// which an RPC exception left it:
//
//   HRESULT result = 0;
//   const RPC_STATUS status = CatchRpcException([&] { result = Client_Hkd04a7Rpc_EventNotify_Create(binding, &handle);
//   });
//
// The code must do nothing but the stub call: where an exception leaves it, no destructor inside it runs on Windows.
#pragma once

#include "platform/rpc.h"

// The same without a template: calls call(context). Host: platform/host/rpc/rpc_exception.cpp.
extern "C" RPC_STATUS RunCatchingRpcException(void (*call)(void* context), void* context);

template <typename Call>
RPC_STATUS CatchRpcException(Call call) {
  return RunCatchingRpcException([](void* context) { (*static_cast<Call*>(context))(); }, &call);
}
