// Test surface: who a client is, where server and clients are one process.
//
// The kernel names a connection's process, which tells clients of that kind apart from nobody. So the socket of a
// client with an identity of its own is bound to a name that the kernel makes up, and the name stands in a table of the
// process; the server looks there by the peer's address, and only when the peer is its own process.
#pragma once

#include <memory>
#include <string>

#include "platform/host/identity/token_facts.h"

namespace host::rpc {

// Client bindings that this thread makes while the scope is open belong to a process with that token. Scopes may nest.
class ClientIdentityScope {
 public:
  explicit ClientIdentityScope(TokenFacts facts);
  ~ClientIdentityScope();
  ClientIdentityScope(const ClientIdentityScope&) = delete;
  ClientIdentityScope& operator=(const ClientIdentityScope&) = delete;

  // The innermost open scope's token, or null.
  static std::shared_ptr<const TokenFacts> Current();

 private:
  const std::shared_ptr<const TokenFacts> outer_;
};

// As ConnectUnixSocket (link/unix_socket.h), with `facts` entered for the socket unless null.
int ConnectAs(const std::shared_ptr<const TokenFacts>& facts, const std::string& path);

// Server: takes the entry for the client of an accepted `socket` out of the table. Null when there is none.
std::shared_ptr<const TokenFacts> TakeClientIdentity(int socket);

}  // namespace host::rpc
