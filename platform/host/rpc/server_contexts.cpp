#include "platform/host/rpc/server_contexts.h"

#include <cstring>
#include <random>
#include <utility>

#include "platform/host/rpc/raised.h"

namespace host::rpc {

namespace {

constexpr std::size_t kAttributesSize = 4;

bool Serialized(const ContextHandle& handle) {
  return handle.type.serialized;
}

// False when one of the handles has been closed.
bool SetValues(const CallHandles& handles, const Procedure& procedure, Call& call) {
  auto handle = handles.begin();
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    if (!procedure.parameters[i].IsContextIn()) continue;
    if (!(*handle)->open) return false;
    call.arguments[i].value = (*handle++)->value;
  }
  return true;
}

}  // namespace

// Runs the rundown routines of handles that nobody uses or can name any more.
class RundownTask : public Task {
 public:
  RundownTask(ContextTable& table, ContextHandles handles) : table_(table), handles_(std::move(handles)) {}

  std::shared_ptr<Task> Run() override {
    for (const auto& handle : handles_) {
      try {
        handle->type.rundown(handle->value);
      } catch (const Raised&) {
        // There is no client left to tell.
      }
      table_.RundownDone(*handle);
    }
    return nullptr;
  }

 private:
  ContextTable& table_;
  ContextHandles handles_;
};

std::shared_ptr<Association> ContextTable::Create(const Peer& client) {
  std::lock_guard guard(lock_);
  while (nextAssociation_ == 0 || associations_.count(nextAssociation_) != 0) ++nextAssociation_;
  auto association = std::make_shared<Association>(nextAssociation_++, client);
  association->connections = 1;
  associations_.emplace(association->id, association);
  return association;
}

std::shared_ptr<Association> ContextTable::Join(std::uint32_t id, const Peer& client) {
  std::lock_guard guard(lock_);
  const auto found = associations_.find(id);
  if (found == associations_.end() || !found->second->owner.SameProcess(client)) return nullptr;
  ++found->second->connections;
  return found->second;
}

std::shared_ptr<Task> ContextTable::Disconnect(const std::shared_ptr<Association>& association) {
  std::lock_guard guard(lock_);
  if (--association->connections > 0) return nullptr;
  associations_.erase(association->id);
  ContextHandles idle;
  for (auto& [number, handle] : std::exchange(association->handles, {})) {
    handle->open = false;
    handle->rundownDue = handle->users > 0;
    if (!handle->rundownDue) idle.push_back(handle);
  }
  return idle.empty() ? nullptr : std::make_shared<RundownTask>(*this, std::move(idle));
}

std::shared_ptr<ContextHandle> ContextTable::Find(Association& association, const ContextToken& token,
                                                  const ContextHandleType& type) const {
  std::uint64_t number = 0;
  std::memcpy(&number, token.bytes.data() + kAttributesSize, sizeof(number));
  const auto found = association.handles.find(number);
  if (found == association.handles.end()) return nullptr;
  const auto& handle = found->second;
  return handle->token == token && &handle->type == &type ? handle : nullptr;
}

bool ContextTable::Find(Association& association, const InterfaceDescription& interface, const Procedure& procedure,
                        const Call& call, CallHandles* handles) const {
  auto handle = handles->begin();
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    const auto& parameter = procedure.parameters[i];
    if (!parameter.IsContextIn()) continue;
    *handle = Find(association, call.arguments[i].token, interface.contextTypes[parameter.contextType]);
    if (*handle++ == nullptr) return false;
  }
  return true;
}

Use ContextTable::Begin(Association& association, const InterfaceDescription& interface, const Procedure& procedure,
                        Call& call, Task& task, CallHandles* handles) {
  CallHandles found;
  std::lock_guard guard(lock_);
  if (!Find(association, interface, procedure, call, &found)) return Use::Unknown;
  ContextHandle* taken = nullptr;
  for (const auto& handle : found) {
    if (handle && Serialized(*handle) && handle->users > 0) taken = handle.get();
  }
  if (taken != nullptr) {
    if (taken->line.size() >= kMaxLine) return Use::LineFull;
    taken->line.push_back(task.shared_from_this());
  }
  for (const auto& handle : found) {
    if (handle && handle.get() != taken) ++handle->users;
  }
  *handles = std::move(found);
  SetValues(*handles, procedure, call);
  return taken != nullptr ? Use::Waiting : Use::Granted;
}

std::shared_ptr<Task> ContextTable::Leave(const std::shared_ptr<ContextHandle>& handle) {
  std::lock_guard guard(lock_);
  if (!handle->line.empty()) {
    // The use passes on to the next in line.
    auto next = std::move(handle->line.front());
    handle->line.pop_front();
    return next;
  }
  if (--handle->users > 0 || !std::exchange(handle->rundownDue, false)) return nullptr;
  return std::make_shared<RundownTask>(*this, ContextHandles{handle});
}

bool ContextTable::Values(const CallHandles& handles, const Procedure& procedure, Call& call) {
  std::lock_guard guard(lock_);
  return SetValues(handles, procedure, call);
}

ContextToken ContextTable::Add(Association& association, const ContextHandleType& type, void* value,
                               std::shared_ptr<Task>* rundown) {
  std::lock_guard guard(lock_);
  const std::uint64_t number = nextHandle_++;
  auto handle = std::make_shared<ContextHandle>(type, MakeToken(number), number, association.owner.share, value);
  ++handle->share->handles;
  ++handlesByType_[type.name];
  if (association.connections > 0) {
    association.handles.emplace(number, handle);
  } else {
    handle->open = false;
    *rundown = std::make_shared<RundownTask>(*this, ContextHandles{handle});
  }
  return handle->token;
}

void ContextTable::Update(Association& association, ContextHandle& handle, void* value) {
  std::lock_guard guard(lock_);
  handle.value = value;
  if (value != nullptr || (!handle.open && !handle.rundownDue)) return;
  handle.open = false;
  handle.rundownDue = false;
  association.handles.erase(handle.number);
  Forget(handle);
}

void ContextTable::RundownDone(const ContextHandle& handle) {
  std::lock_guard guard(lock_);
  Forget(handle);
}

void ContextTable::Forget(const ContextHandle& handle) {
  --handle.share->handles;
  const auto entry = handlesByType_.find(handle.type.name);
  if (--entry->second == 0) handlesByType_.erase(entry);
}

// Attributes 0; the UUID is the handle's number with a part that cannot be guessed behind it.
ContextToken ContextTable::MakeToken(std::uint64_t number) {
  thread_local std::random_device random;
  const std::uint64_t tail = (std::uint64_t{random()} << 32) | random();
  ContextToken token;
  std::memcpy(token.bytes.data() + kAttributesSize, &number, sizeof(number));
  std::memcpy(token.bytes.data() + kAttributesSize + sizeof(number), &tail, sizeof(tail));
  return token;
}

unsigned ContextTable::AssociationCount() const {
  std::lock_guard guard(lock_);
  return static_cast<unsigned>(associations_.size());
}

unsigned ContextTable::HandleCount() const {
  std::lock_guard guard(lock_);
  unsigned handles = 0;
  for (const auto& [name, count] : handlesByType_) handles += count;
  return handles;
}

std::map<std::string, unsigned> ContextTable::HandlesByType() const {
  std::lock_guard guard(lock_);
  return handlesByType_;
}

}  // namespace host::rpc
