#include "fuzz/rpc_server.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "fuzz/check.h"
#include "fuzz/rpc_interface.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/host/rpc/reply_batch.h"

using namespace host::rpc;

FuzzServer::FuzzServer() {
  Check(interfaces_.Register(kOpenInterface, 100, "") == RPC_S_OK, "an interface can be registered");
  Check(interfaces_.Register(kGuardedInterface, 100, "D:(A;;GA;;;SY)") == RPC_S_OK, "an interface can be registered");
}

FuzzServer::~FuzzServer() {
  Check(contexts_.AssociationCount() == 0 && contexts_.HandleCount() == 0, "what clients held goes with them");
  Check(interfaces_.OpenCalls() == 0, "no call is left open");
  Check(LiveValues() == 0, "every value is closed or run down once");
}

void FuzzServer::Run(std::shared_ptr<Task> task) {
  for (;;) {
    if (!task) task = posted_.Take();
    if (!task) return;
    task = task->Run();
  }
}

FuzzConnection::FuzzConnection(FuzzServer& server, const Peer& peer) : server_(server) {
  static const int epoll = epoll_create1(EPOLL_CLOEXEC);
  int pair[2];
  Check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) == 0, "there is a pair of sockets");
  socket_ = pair[0];
  static ReplyBatch neverOpened;  // one for all: it has a ring of the system's
  auto connection = std::make_shared<ServerConnection>(1, pair[1], peer, epoll, neverOpened);
  Check(connection->Watch(), "a connection can be watched");
  session_.emplace(server.tables(), std::move(connection), "Endpoint", true);
}

FuzzConnection::~FuzzConnection() {
  close(socket_);
  server_.Run(session_->End());
}

std::optional<ServerAnswer> FuzzConnection::Send(std::span<const std::byte> pdu) {
  Check(send(socket_, pdu.data(), pdu.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(pdu.size()), "a PDU can be sent");
  session_->Receive();
  for (bool more = true; more;) {
    std::shared_ptr<Task> task;
    more = session_->Next(&task) && !session_->Over();
    server_.Run(std::move(task));
  }
  return TakeAnswer();
}

std::optional<ServerAnswer> FuzzConnection::TakeAnswer() {
  ServerAnswer answer;
  answer.pdu.resize(std::size_t{2} * kMaxFragment);
  const ssize_t size = recv(socket_, answer.pdu.data(), answer.pdu.size(), 0);
  if (size <= 0) return std::nullopt;
  answer.pdu.resize(static_cast<std::size_t>(size));
  Check(answer.pdu.size() >= kHeaderSize, "an answer has a header");
  Check(!ParseHeader(std::span(answer.pdu).first<kHeaderSize>(), answer.header), "an answer's header is good");
  Check(answer.header.fragmentLength == answer.pdu.size(), "there is one answer, of the length it says");
  return answer;
}
