#include "client/connection.h"

#include "platform/types.h"

namespace client {

Connection::~Connection() {
  if (binding_ != nullptr) RpcBindingFree(&binding_);
}

Status Connection::Open() {
  // The runtime's prototypes want writable strings.
  WideString protocolSequence = W("ncalrpc");
  WideString endpoint = W("Hkd04a7RpcEndpoint");
  auto wide = [](WideString& text) { return reinterpret_cast<RPC_WSTR>(text.data()); };
  RPC_WSTR composed = nullptr;
  RPC_STATUS status =
      RpcStringBindingComposeW(nullptr, wide(protocolSequence), nullptr, wide(endpoint), nullptr, &composed);
  if (status != RPC_S_OK) return {"RpcStringBindingComposeW", status};
  status = RpcBindingFromStringBindingW(composed, &binding_);
  RpcStringFreeW(&composed);
  return {"RpcBindingFromStringBindingW", status};
}

}  // namespace client
