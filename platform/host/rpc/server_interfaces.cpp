#include "platform/host/rpc/server_interfaces.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/host/base/access_rights.h"

namespace host::rpc {

namespace {

unsigned& CallsOf(ServerInterface& interface, const Procedure& procedure) {
  return interface.callsOf[static_cast<std::size_t>(&procedure - interface.description->procedures.data())];
}

bool OpensHandle(const Procedure& procedure) {
  return std::any_of(procedure.parameters.begin(), procedure.parameters.end(), [](const Parameter& parameter) {
    return parameter.kind == ParameterKind::Context && parameter.direction == Direction::Out;
  });
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
  if (entry == nullptr) entry = interfaces_.emplace_back(std::make_unique<ServerInterface>()).get();
  if (entry->registered) return RPC_S_TYPE_ALREADY_REGISTERED;
  entry->description = &description;
  entry->callsOf.resize(description.procedures.size());
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
  if (wait) callsEnded_.wait(guard, [entry] { return entry->openCalls == 0; });
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

Admission InterfaceTable::Admit(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  std::lock_guard guard(lock_);
  if (!interface.registered) return Admission::UnknownInterface;
  if (client.handles >= kMaxHandlesOfClient && OpensHandle(procedure)) return Admission::TooBusy;
  if (!procedure.asynchronous) {
    if (interface.limitedCalls >= interface.maxCalls) return Admission::TooBusy;
    if (client.limitedCalls >= CallsOfClient(interface.maxCalls)) return Admission::TooBusy;
    ++interface.limitedCalls;
    ++client.limitedCalls;
  } else {
    if (client.asynchronousCalls >= kMaxAsynchronousCallsOfClient) return Admission::TooBusy;
    ++interface.asynchronousCalls;
    ++client.asynchronousCalls;
  }
  ++interface.openCalls;
  ++CallsOf(interface, procedure);
  return Admission::Admitted;
}

void InterfaceTable::RoutineEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  if (procedure.asynchronous) return;
  --interface.limitedCalls;
  --client.limitedCalls;
}

void InterfaceTable::CallEnded(ServerInterface& interface, const Procedure& procedure, ClientShare& client) {
  std::lock_guard guard(lock_);
  if (procedure.asynchronous) --interface.asynchronousCalls;
  if (procedure.asynchronous) --client.asynchronousCalls;
  --CallsOf(interface, procedure);
  if (--interface.openCalls == 0) callsEnded_.notify_all();
}

unsigned InterfaceTable::OpenCalls() const {
  std::lock_guard guard(lock_);
  unsigned calls = 0;
  for (const auto& entry : interfaces_) calls += entry->openCalls;
  return calls;
}

unsigned InterfaceTable::AsynchronousCalls() const {
  std::lock_guard guard(lock_);
  unsigned calls = 0;
  for (const auto& entry : interfaces_) calls += entry->asynchronousCalls;
  return calls;
}

std::map<std::string, unsigned> InterfaceTable::OpenCallsByProcedure() const {
  std::lock_guard guard(lock_);
  std::map<std::string, unsigned> calls;
  for (const auto& entry : interfaces_) {
    for (std::size_t i = 0; i < entry->callsOf.size(); ++i) {
      if (entry->callsOf[i] != 0) calls[entry->description->procedures[i].name] += entry->callsOf[i];
    }
  }
  return calls;
}

}  // namespace host::rpc
