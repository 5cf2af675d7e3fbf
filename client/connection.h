// A binding to the service's RPC interface on this machine.
#pragma once

#include "client/status.h"
#include "platform/rpc.h"

namespace client {

class Connection {
 public:
  Connection() = default;
  // Gives the binding up. Everything made over it (subscriptions) must be gone before.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Makes the binding to the endpoint "Hkd04a7RpcEndpoint". Nothing travels yet: whether anybody serves the endpoint
  // shows itself at the first call. Call it once.
  Status Open();

  // For the stubs; owned by this object. Null until Open answered success.
  handle_t Binding() const { return binding_; }

 private:
  handle_t binding_ = nullptr;
};

}  // namespace client
