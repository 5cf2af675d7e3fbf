// The interfaces this process offers, and how many of their calls are in progress.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/rpc_types.h"
#include "platform/host/rpc/stub.h"
#include "platform/host/security/sddl.h"

namespace host::rpc {

// One interface, from its first registration on.
struct ServerInterface {
  explicit ServerInterface(const InterfaceDescription& offered)
      : description(&offered), callsOf(offered.procedures.size()) {}

  const InterfaceDescription* const description;
  std::string descriptor;  // who may call, as SDDL; empty: everyone. Guarded by its table
  std::atomic<bool> registered{false};
  std::atomic<unsigned> maxCalls{0};
  std::atomic<unsigned> limitedCalls{0};       // what counts towards them: synchronous calls without an outcome
  std::vector<std::atomic<unsigned>> callsOf;  // for each procedure, its calls that are admitted and not ended
};

enum class Admission : std::uint8_t { Admitted, UnknownInterface, TooBusy };

// Thread safe; its lock is taken last, and not at all for a call of an interface that is on the air.
class InterfaceTable {
 public:
  // RPC_S_TYPE_ALREADY_REGISTERED for one that is on the air.
  RPC_STATUS Register(const InterfaceDescription& description, unsigned maxCalls, std::string descriptor);

  // Refuses calls from now on; with `wait` returns when no call is left. RPC_S_UNKNOWN_IF for one not on the air.
  RPC_STATUS Unregister(const InterfaceDescription& description, bool wait);

  // The registered interface a client means, or null: same UUID and major version, minor version not above ours.
  // It stays valid for the life of the process.
  ServerInterface* Find(const UUID& uuid, std::uint16_t major, std::uint16_t minor);

  // Whether the descriptor of an interface on the air lets `client` call it.
  bool Grants(const ServerInterface& interface, const Identity& client) const;

  // Every admitted call counts towards the limit, and towards its client's share of it, until RoutineEnded, which comes
  // before its client may know the outcome, and ends with CallEnded.
  Admission Admit(ServerInterface& interface, const Procedure& procedure, ClientShare& client);
  void RoutineEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client);
  void CallEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client);

  unsigned OpenCalls() const;
  unsigned AsynchronousCalls() const;  // those of them that are asynchronous
  std::map<std::string, unsigned> OpenCallsByProcedure() const;

 private:
  ServerInterface* Entry(const InterfaceDescription& description);
  void Uncount(ServerInterface& interface, std::atomic<unsigned>& calls);

  mutable std::mutex lock_;
  std::condition_variable callsEnded_;
  std::vector<std::unique_ptr<ServerInterface>> interfaces_;
};

bool SameUuid(const UUID& left, const UUID& right);

}  // namespace host::rpc
