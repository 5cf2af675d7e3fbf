// What stands behind a client's binding handle, and behind a context handle on the client.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/host/rpc/client_connection.h"

namespace host::rpc {

// Thread safe. Connects when it is first used, and again after the connection was lost. Each binding has an association
// of its own. Held by its handle and by the context handles got over it.
class ClientBinding {
 public:
  // An empty endpoint is looked up in the endpoint map.
  explicit ClientBinding(std::string endpoint) : endpoint_(std::move(endpoint)) {}

  // The connection, made now if need be. Holds up other users of the binding while it connects.
  RPC_STATUS Connect(const InterfaceDescription& description, std::shared_ptr<ClientConnection>& connection);

 private:
  std::mutex lock_;
  std::string endpoint_;
  std::shared_ptr<ClientConnection> connection_;
  const std::shared_ptr<const TokenFacts> client_ = ClientIdentityScope::Current();
};

// A binding handle points to one of these.
struct BindingHandle {
  std::shared_ptr<ClientBinding> binding;
};

// A context handle points to one of these.
struct ClientContext {
  std::shared_ptr<ClientBinding> binding;
  ContextToken token;
};

}  // namespace host::rpc
