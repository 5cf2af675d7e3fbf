// An endpoint of this process: the socket <runtime>/ncalrpc/<name> of its machine.
#pragma once

#include <string>

#include "platform/host/rpc/rpc_types.h"

namespace host::rpc {

struct ServerEndpoint {
  std::string name;
  int socket = -1;         // listening
  std::string descriptor;  // who may connect, as SDDL; empty: everyone
};

// Whether a client and a server can mean a file by it.
bool ValidEndpointName(const std::string& name);

// Creates the socket. What a process that is gone left under the name is replaced. RPC_S_DUPLICATE_ENDPOINT when a
// process is listening there, RPC_S_CANT_CREATE_ENDPOINT when the folder or the socket cannot be made.
RPC_STATUS OpenEndpoint(const std::string& name, int backlog, int* socket);

// Closes the socket and removes its file.
void CloseEndpoint(const ServerEndpoint& endpoint);

}  // namespace host::rpc
