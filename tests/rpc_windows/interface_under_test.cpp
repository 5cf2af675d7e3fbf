#include "tests/rpc_windows/interface_under_test.h"

#include <gtest/gtest.h>

Server::Server() : endpoint_(L"Hkd04a7RpcTest" + std::to_wstring(GetCurrentProcessId())) {
  std::wstring protocolSequence = L"ncalrpc";
  EXPECT_EQ(
      RpcServerUseProtseqEpW(RpcText(protocolSequence), RPC_C_PROTSEQ_MAX_REQS_DEFAULT, RpcText(endpoint_), nullptr),
      RPC_S_OK);
  EXPECT_EQ(
      RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                           RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr, nullptr),
      RPC_S_OK);
}

Server::~Server() {
  EXPECT_EQ(RpcServerUnregisterIf(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, TRUE), RPC_S_OK);
}
