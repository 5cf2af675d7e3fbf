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

// One interface, from its first registration on. Guarded by its table; the description never changes.
struct ServerInterface {
  const InterfaceDescription* description = nullptr;
  bool registered = false;
  unsigned maxCalls = 0;
  std::string descriptor;                 // who may call, as SDDL; empty: everyone
  unsigned openCalls = 0;                 // admitted and not ended
  std::atomic<unsigned> limitedCalls{0};  // those of them that count towards the limit: synchronous, without an outcome
  unsigned asynchronousCalls = 0;         // those of them that are asynchronous
  std::vector<unsigned> callsOf;          // those of each procedure
};

enum class Admission : std::uint8_t { Admitted, UnknownInterface, TooBusy };

// Thread safe; its lock is taken last.
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

  mutable std::mutex lock_;
  std::condition_variable callsEnded_;
  std::vector<std::unique_ptr<ServerInterface>> interfaces_;
};

bool SameUuid(const UUID& left, const UUID& right);

}  // namespace host::rpc
