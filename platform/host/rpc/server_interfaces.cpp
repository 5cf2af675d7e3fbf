#include "platform/host/rpc/server_interfaces.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include "platform/host/base/access_rights.h"

namespace host::rpc {

namespace {

std::atomic<unsigned>& CallsOf(ServerInterface& interface, const Procedure& procedure) {
  return interface.callsOf[static_cast<std::size_t>(&procedure - interface.description->procedures.data())];
}

bool OpensHandle(const Procedure& procedure) {
  return std::any_of(procedure.parameters.begin(), procedure.parameters.end(), [](const Parameter& parameter) {
    return parameter.kind == ParameterKind::Context && parameter.direction == Direction::Out;
  });
}

bool HasNoCalls(const ServerInterface& interface) {
  return std::all_of(interface.callsOf.begin(), interface.callsOf.end(), [](const auto& calls) { return calls == 0; });
}

// Counts a call against the limits of its kind.
bool WithinLimits(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  if (client.handles >= kMaxHandlesOfClient && OpensHandle(procedure)) return false;
  if (procedure.asynchronous) {
    if (client.asynchronousCalls >= kMaxAsynchronousCallsOfClient) return false;
    ++client.asynchronousCalls;
    return true;
  }
  const unsigned maxCalls = interface.maxCalls;
  if (interface.limitedCalls >= maxCalls || client.limitedCalls >= CallsOfClient(maxCalls)) return false;
  ++interface.limitedCalls;
  ++client.limitedCalls;
  return true;
}

}  // namespace

bool SameUuid(const UUID& left, const UUID& right) {
  return std::memcmp(&left, &right, sizeof(UUID)) == 0;
}

ServerInterface* InterfaceTable::Entry(const InterfaceDescription& description) {
  for (auto& entry : interfaces_) {
    if (entry->description == &description) return entry.get();
  }
  return nullptr;
}

RPC_STATUS InterfaceTable::Register(const InterfaceDescription& description, unsigned maxCalls,
                                    std::string descriptor) {
  std::lock_guard guard(lock_);
  ServerInterface* entry = Entry(description);
  if (entry == nullptr) entry = interfaces_.emplace_back(std::make_unique<ServerInterface>(description)).get();
  if (entry->registered) return RPC_S_TYPE_ALREADY_REGISTERED;
  entry->maxCalls = maxCalls;
  entry->descriptor = std::move(descriptor);
  entry->registered = true;
  return RPC_S_OK;
}

RPC_STATUS InterfaceTable::Unregister(const InterfaceDescription& description, bool wait) {
  std::unique_lock guard(lock_);
  ServerInterface* entry = Entry(description);
  if (entry == nullptr || !entry->registered) return RPC_S_UNKNOWN_IF;
  entry->registered = false;
  if (wait) callsEnded_.wait(guard, [entry] { return HasNoCalls(*entry); });
  return RPC_S_OK;
}

ServerInterface* InterfaceTable::Find(const UUID& uuid, std::uint16_t major, std::uint16_t minor) {
  std::lock_guard guard(lock_);
  for (auto& entry : interfaces_) {
    const auto& description = *entry->description;
    if (entry->registered && SameUuid(description.uuid, uuid) && description.majorVersion == major &&
        minor <= description.minorVersion) {
      return entry.get();
    }
  }
  return nullptr;
}

bool InterfaceTable::Grants(const ServerInterface& interface, const Identity& client) const {
  std::string descriptor;
  {
    std::lock_guard guard(lock_);
    descriptor = interface.descriptor;
  }
  return AccessGranted(descriptor, client, GENERIC_ALL);
}

// A call is counted before it is asked whether the interface is on the air, and Unregister does both the other way
// round: either the call is refused, or Unregister knows of it.
Admission InterfaceTable::Admit(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  auto& calls = CallsOf(interface, procedure);
  ++calls;
  auto admission = Admission::UnknownInterface;
  if (interface.registered) {
    admission = WithinLimits(interface, procedure, client) ? Admission::Admitted : Admission::TooBusy;
  }
  if (admission != Admission::Admitted) Uncount(interface, calls);
  return admission;
}

void InterfaceTable::RoutineEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  if (procedure.asynchronous) return;
  --interface.limitedCalls;
  --client.limitedCalls;
}

void InterfaceTable::CallEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  if (procedure.asynchronous) --client.asynchronousCalls;
  Uncount(interface, CallsOf(interface, procedure));
}

// Only while the interface is not on the air may somebody wait for its calls to end.
void InterfaceTable::Uncount(ServerInterface& interface, std::atomic<unsigned>& calls) {
  --calls;
  if (interface.registered) return;
  std::lock_guard guard(lock_);
  callsEnded_.notify_all();
}

unsigned InterfaceTable::OpenCalls() const {
  std::lock_guard guard(lock_);
  unsigned open = 0;
  for (const auto& entry : interfaces_) open = std::accumulate(entry->callsOf.begin(), entry->callsOf.end(), open);
  return open;
}

unsigned InterfaceTable::AsynchronousCalls() const {
  std::lock_guard guard(lock_);
  unsigned open = 0;
  for (const auto& entry : interfaces_) {
    for (const auto& procedure : entry->description->procedures) {
      if (procedure.asynchronous) open += CallsOf(*entry, procedure);
    }
  }
  return open;
}

std::map<std::string, unsigned> InterfaceTable::OpenCallsByProcedure() const {
  std::lock_guard guard(lock_);
  std::map<std::string, unsigned> calls;
  for (const auto& entry : interfaces_) {
    for (std::size_t i = 0; i < entry->callsOf.size(); ++i) {
      const unsigned open = entry->callsOf[i];
      if (open != 0) calls[entry->description->procedures[i].name] += open;
    }
  }
  return calls;
}

}  // namespace host::rpc
