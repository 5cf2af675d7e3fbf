// Who is at the other end of a connection: what the kernel says, never what the client says.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/host/identity/token_facts.h"
#include "platform/host/rpc/client_share.h"

namespace host::rpc {

// A process. The start time (clock ticks since boot) tells it from a later one with the same number.
struct Peer {
  pid_t pid = 0;
  uid_t user = 0;
  std::uint64_t startTime = 0;
  std::shared_ptr<const TokenFacts> token;  // as it was when the connection was accepted
  std::shared_ptr<ClientShare> share = std::make_shared<ClientShare>();

  bool SameProcess(const Peer& other) const { return pid == other.pid && startTime == other.startTime; }
};

// The process that connected `socket`, with its token. Empty when it has ended already or cannot be told.
std::optional<Peer> LookUpPeer(int socket);

// Whether this process can open what LookUpPeer opens, and the connection itself: a client that is accepted without
// that could only be turned away. `descriptor` is any open one.
bool CanLookUpPeer(int descriptor);

}  // namespace host::rpc
