#include "bench/product_endpoint.h"

#include "platform/rpc.h"
#include "platform/rpc_interface.h"
#include "platform/types.h"

namespace bench {

bool OpenProductEndpoint() {
  WCHAR protocol[] = W("ncalrpc");
  WCHAR endpoint[] = W("Hkd04a7RpcEndpoint");
  return RpcServerUseProtseqEpW(protocol, RPC_C_PROTSEQ_MAX_REQS_DEFAULT, endpoint, nullptr) == RPC_S_OK &&
         RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                              RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr, nullptr) == RPC_S_OK;
}

}  // namespace bench
