#include "tests/rpc_windows/client_binding.h"

Binding::Binding(std::wstring endpoint) {
  std::wstring protocolSequence = L"ncalrpc";
  RPC_WSTR composed = nullptr;
  if (RpcStringBindingComposeW(nullptr, RpcText(protocolSequence), nullptr, RpcText(endpoint), nullptr, &composed) !=
      RPC_S_OK) {
    return;
  }
  RpcBindingFromStringBindingW(composed, &handle_);
  RpcStringFreeW(&composed);
}

Binding::~Binding() {
  if (handle_ != nullptr) RpcBindingFree(&handle_);
}
