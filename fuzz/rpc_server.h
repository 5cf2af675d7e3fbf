// A server without sockets to listen on and without threads: the sessions of a few clients, each over a pair of
// sockets, served on the caller's thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/server_posted_tasks.h"
#include "platform/host/rpc/server_session.h"

// What the server sent: one PDU.
struct ServerAnswer {
  host::rpc::PduHeader header;
  host::rpc::Bytes pdu;
};

class FuzzServer {
 public:
  FuzzServer();
  // Checks that nothing is left of the clients; they must be gone.
  ~FuzzServer();
  FuzzServer(const FuzzServer&) = delete;
  FuzzServer& operator=(const FuzzServer&) = delete;

  const host::rpc::ServerTables& tables() const { return tables_; }
  void Run(std::shared_ptr<host::rpc::Task> task);

 private:
  host::rpc::InterfaceTable interfaces_;
  host::rpc::ContextTable contexts_;
  host::rpc::PostedTasks posted_;
  const host::rpc::ServerTables tables_{interfaces_, contexts_, posted_};
};

// One connection.
class FuzzConnection {
 public:
  FuzzConnection(FuzzServer& server, const host::rpc::Peer& peer);
  ~FuzzConnection();
  FuzzConnection(const FuzzConnection&) = delete;
  FuzzConnection& operator=(const FuzzConnection&) = delete;

  // Sends one PDU, has the server do all it leads to, and takes the answer; the server sends one at most.
  std::optional<ServerAnswer> Send(std::span<const std::byte> pdu);
  // The server is done with this client.
  bool Over() const { return session_->Over(); }

 private:
  std::optional<ServerAnswer> TakeAnswer();

  FuzzServer& server_;
  int socket_ = -1;
  std::optional<host::rpc::ServerSession> session_;
};
