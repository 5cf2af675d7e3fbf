// Associations and the context handles that belong to them.
//
// An association is the group of connections that one client process opened under one number. A context handle is
// valid within the association it was made in. When the last connection goes, its handles are run down in the order
// they were made; a handle on which a routine is running is run down when that has left, unless the routine closed it.
//
// A call uses the handles it was given from Use to Leave. On a serialized handle calls take turns: who finds it
// used waits in its line, without a thread, and is handed out by the Leave of the one before.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/rpc/server_peer.h"
#include "platform/host/rpc/server_threads.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

// Guarded by the table, but for what is const.
struct ContextHandle {
  ContextHandle(const ContextHandleType& handleType, ContextToken handleToken, std::uint64_t handleNumber,
                std::shared_ptr<ClientShare> client, void* behind)
      : type(handleType), token(handleToken), number(handleNumber), share(std::move(client)), value(behind) {}

  const ContextHandleType& type;
  const ContextToken token;
  const std::uint64_t number;  // in the order of creation
  const std::shared_ptr<ClientShare> share;

  void* value;
  bool open = true;         // may be named by a client; false once closed or given up to rundown
  bool rundownDue = false;  // to be run down by the last to leave
  unsigned users = 0;
  std::deque<std::shared_ptr<Task>> line;  // calls waiting for a serialized handle
};

struct Association {
  Association(std::uint32_t groupId, const Peer& client) : id(groupId), owner(client) {}

  const std::uint32_t id;
  const Peer owner;
  unsigned connections = 0;
  std::map<std::uint64_t, std::shared_ptr<ContextHandle>> handles;
};

using ContextHandles = std::vector<std::shared_ptr<ContextHandle>>;

// The handles that a call was given, in parameter order, and null behind them. One of them may be a serialized one.
inline constexpr std::size_t kMostHandlesOfCall = 2;
using CallHandles = std::array<std::shared_ptr<ContextHandle>, kMostHandlesOfCall>;

enum class Use : std::uint8_t { Granted, Waiting, Unknown, LineFull };

// Thread safe; its lock is taken last. No task is run by it: what has become ready is handed to the caller.
class ContextTable {
 public:
  // A new association of `client`, with one connection.
  std::shared_ptr<Association> Create(const Peer& client);
  // Adds a connection to one that exists. Null when there is none of that number or another process opened it.
  std::shared_ptr<Association> Join(std::uint32_t id, const Peer& client);
  // Takes a connection away. With the last one answers the rundown to be run, if there is anything to run down now.
  std::shared_ptr<Task> Disconnect(const std::shared_ptr<Association>& association);

  // Begins the use of the handles that the [in] arguments of `call` name. Granted: the arguments have their values.
  // Waiting: `task` stands in a handle's line and is answered by a later Leave, already granted. Unknown: one of them
  // is not open, or of another type. After that or LineFull nothing has been done.
  Use Begin(Association& association, const InterfaceDescription& interface, const Procedure& procedure, Call& call,
            Task& task, CallHandles* handles);
  // Ends one use. Answers the next call in line or the rundown that was waiting, or null.
  std::shared_ptr<Task> Leave(const std::shared_ptr<ContextHandle>& handle);

  // The arguments' values for a call that has stood in line; false when a handle has been closed meanwhile.
  bool Values(const CallHandles& handles, const Procedure& procedure, Call& call);

  // Makes a handle for a value that a routine handed out. When the association has ended meanwhile, the handle has to
  // be run down at once: `rundown` then gets that task.
  ContextToken Add(Association& association, const ContextHandleType& type, void* value,
                   std::shared_ptr<Task>* rundown);
  // What a routine made of an [in, out] handle: null closes it.
  void Update(Association& association, ContextHandle& handle, void* value);

  unsigned AssociationCount() const;
  unsigned HandleCount() const;
  std::map<std::string, unsigned> HandlesByType() const;

 private:
  friend class RundownTask;
  std::shared_ptr<ContextHandle> Find(Association& association, const ContextToken& token,
                                      const ContextHandleType& type) const;
  bool Find(Association& association, const InterfaceDescription& interface, const Procedure& procedure,
            const Call& call, CallHandles* handles) const;
  void RundownDone(const ContextHandle& handle);
  ContextToken MakeToken(std::uint64_t number);
  void Forget(const ContextHandle& handle);

  mutable std::mutex lock_;
  std::uint32_t nextAssociation_ = 1;
  std::uint64_t nextHandle_ = 1;
  std::map<std::uint32_t, std::shared_ptr<Association>> associations_;
  std::map<std::string, unsigned> handlesByType_;  // not closed and not run down
};

}  // namespace host::rpc
