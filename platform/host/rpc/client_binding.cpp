#include "platform/host/rpc/client_binding.h"

#include "platform/host/rpc/client_endpoint_map.h"

namespace host::rpc {

RPC_STATUS ClientBinding::Connect(const InterfaceDescription& description,
                                  std::shared_ptr<ClientConnection>& connection) {
  std::lock_guard guard(lock_);
  if (connection_ != nullptr && connection_->Lost()) connection_.reset();
  if (connection_ == nullptr) {
    std::string endpoint = endpoint_;
    const RPC_STATUS found = endpoint.empty() ? LookUpEndpoint(description, endpoint) : RPC_S_OK;
    if (found != RPC_S_OK) return found;
    std::shared_ptr<ClientConnection> opened;
    const RPC_STATUS status = ClientConnection::Open(endpoint, description, client_, opened);
    if (status != RPC_S_OK) return status;
    connection_ = std::move(opened);
  }
  connection = connection_;
  return RPC_S_OK;
}

}  // namespace host::rpc
