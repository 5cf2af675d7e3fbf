// Acting as the client of the call that the calling thread serves.
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_call.h"

RPC_STATUS RpcImpersonateClient(RPC_BINDING_HANDLE binding) {
  if (const auto code = host::InjectedFailure("RpcImpersonateClient")) return static_cast<RPC_STATUS>(*code);
  if (binding != nullptr) host::Unsupported("RpcImpersonateClient", "binding not null");
  const auto* call = host::rpc::ServerCall::Current();
  if (call == nullptr) return RPC_S_NO_CALL_ACTIVE;
  host::SetThreadToken(call->ClientToken());
  return RPC_S_OK;
}

RPC_STATUS RpcRevertToSelfEx(RPC_BINDING_HANDLE binding) {
  if (const auto code = host::InjectedFailure("RpcRevertToSelfEx")) return static_cast<RPC_STATUS>(*code);
  if (binding != nullptr) host::Unsupported("RpcRevertToSelfEx", "binding not null");
  if (host::rpc::ServerCall::Current() == nullptr) return RPC_S_NO_CALL_ACTIVE;
  host::SetThreadToken(nullptr);
  return RPC_S_OK;
}
