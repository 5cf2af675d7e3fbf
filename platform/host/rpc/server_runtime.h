// The RPC server of this process: its endpoints, connections, tables and threads.
//
// Locks: the tables, the posted tasks, the threads, each connection, the batch of replies and this class have one each.
// None of them is held while another is taken, but a connection's when a reply goes to the batch, nor while a server
// routine or a rundown runs. So any call of the runtime may be made with the product's own locks held,
// RpcServerUnregisterIf with waiting excepted.
#pragma once

#include <sys/epoll.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/reply_batch.h"
#include "platform/host/rpc/server_contexts.h"
#include "platform/host/rpc/server_endpoint.h"
#include "platform/host/rpc/server_interfaces.h"
#include "platform/host/rpc/server_posted_tasks.h"
#include "platform/host/rpc/server_session.h"
#include "platform/host/rpc/server_threads.h"

namespace host::rpc {

class ServerRuntime final : public TaskSource {
 public:
  // Made on first use; lives as long as the process, as its threads do.
  static ServerRuntime& Instance();

  InterfaceTable& interfaces() { return interfaces_; }
  ContextTable& contexts() { return contexts_; }
  CallThreads& threads() { return threads_; }

  // `backlog` connections may wait to be accepted. `descriptor` is SDDL.
  RPC_STATUS AddEndpoint(const std::string& name, int backlog, const std::string& descriptor);
  std::vector<std::string> EndpointNames() const;
  // Closes all endpoints; connections stay.
  void CloseEndpoints();

  // RPC_S_ALREADY_LISTENING, RPC_S_NO_PROTSEQS_REGISTERED; otherwise returns after EndListening.
  RPC_STATUS Listen();
  void EndListening();

  // Takes an interface off the air (InterfaceTable::Unregister). With `wait` every call's reply is in its socket then,
  // or kept for a client that does not read.
  RPC_STATUS Unregister(const InterfaceDescription& description, bool wait);

  unsigned ConnectionCount() const;
  std::size_t UnsentBytes() const;

  std::shared_ptr<Task> Next() override;

 private:
  ServerRuntime();

  RPC_STATUS StartThreads();
  std::shared_ptr<Task> NextFromSessions();
  void Poll(int timeout);
  bool LookAgain();
  void HandleEvents(std::span<const epoll_event> events);
  void HandleEvent(ServerSession& session, std::uint32_t events);
  void Queue(ServerSession& session);
  void AcceptFrom(std::uint64_t listener);
  void AcceptOne(int socket, const ServerEndpoint& endpoint);
  std::uint64_t TakeId();
  void PauseAccepting(bool pause);
  std::shared_ptr<Task> End(ServerSession& session);
  ServerSession* FindSession(std::uint64_t id) const;

  InterfaceTable interfaces_;
  ContextTable contexts_;
  PostedTasks posted_;
  const ServerTables tables_{interfaces_, contexts_, posted_};
  CallThreads threads_{*this};
  const int epoll_;

  ReplyBatch replies_;

  // What epoll reports posted tasks as; endpoints and connections are numbered from there on.
  static constexpr std::uint64_t kPostedId = 1;
  // How long accepting rests when the process has run out of file descriptors.
  static constexpr std::chrono::milliseconds kAcceptRetry{500};

  // The polling thread's.
  std::deque<ServerSession*> withInput_;  // a session ends outside it
  unsigned sincePoll_ = 0;                // tasks answered
  std::vector<std::uint64_t> flock_;      // what the last poll has reported
  unsigned looksAgain_ = 0;               // at those, since then
  bool acceptingPaused_ = false;          // out of file descriptors
  std::chrono::steady_clock::time_point acceptAgain_;
  ClientShares shares_;

  mutable std::mutex lock_;  // guards all below, of a session only its being there
  std::condition_variable listenEnds_;
  bool listening_ = false;
  std::uint64_t nextId_;
  std::map<std::uint64_t, ServerEndpoint> endpoints_;
  // Changed by the polling thread alone, which therefore looks into it without the lock.
  std::unordered_map<std::uint64_t, std::shared_ptr<ServerSession>> sessions_;
};

}  // namespace host::rpc
