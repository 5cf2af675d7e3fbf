#include "platform/host/rpc/client_connection.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/rpc/fault_status.h"

namespace host::rpc {

namespace {

RPC_STATUS ConnectFailure() {
  switch (errno) {
    case EACCES:
    case EPERM:
      return RPC_S_ACCESS_DENIED;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
      return RPC_S_OUT_OF_RESOURCES;
    default:
      return RPC_S_SERVER_UNAVAILABLE;
  }
}

}  // namespace

RPC_STATUS ClientConnection::Open(const std::string& endpoint, const InterfaceDescription& description,
                                  const std::shared_ptr<const TokenFacts>& client,
                                  std::shared_ptr<ClientConnection>& connection) {
  const int socket = ConnectAs(client, CurrentMachineDirectory().runtime + "/ncalrpc/" + endpoint);
  if (socket < 0) return ConnectFailure();
  Negotiated negotiated;
  PduStream stream;
  const RPC_STATUS status = Negotiate(socket, description, stream, negotiated);
  if (status != RPC_S_OK) {
    close(socket);
    return status;
  }
  connection.reset(new ClientConnection(socket, negotiated, std::move(stream)));
  return Receiver::Instance().Watch(socket, connection, false) ? RPC_S_OK : RPC_S_OUT_OF_RESOURCES;
}

ClientConnection::ClientConnection(int socket, const Negotiated& negotiated, PduStream stream)
    : socket_(socket), negotiated_(negotiated), stream_(std::move(stream)) {}

ClientConnection::~ClientConnection() {
  Receiver::Instance().Unwatch(socket_);
  close(socket_);
}

bool ClientConnection::Lost() const {
  std::lock_guard guard(lock_);
  return lost_;
}

bool ClientConnection::Submit(const std::shared_ptr<ClientCall>& call, std::uint16_t procedure,
                              std::span<const std::byte> stub) {
  std::lock_guard guard(lock_);
  if (lost_) return false;
  RequestPdu request;
  request.contextId = negotiated_.contextId;
  request.procedure = procedure;
  request.stub = stub;
  Bytes bytes;
  const std::uint32_t callId = ++lastCallId_;
  AppendRequest(callId, request, negotiated_.maxFragment, bytes);
  call->SentOver(shared_from_this(), callId, negotiated_.syntax);
  calls_[callId] = call;
  if (SendLocked(std::move(bytes))) return true;
  calls_.erase(callId);
  return false;
}

void ClientConnection::CoCancel(std::uint32_t callId) {
  SendControl(&AppendCoCancel, callId);
}

void ClientConnection::Orphan(std::uint32_t callId) {
  SendControl(&AppendOrphaned, callId);
  if (auto call = TakeCall(callId)) {
    Receiver::Instance().Post([call] { call->End(RPC_S_CALL_CANCELLED, {}); });
  }
}

void ClientConnection::SendControl(void (*append)(std::uint32_t, Bytes&), std::uint32_t callId) {
  std::lock_guard guard(lock_);
  if (lost_ || !calls_.contains(callId)) return;
  Bytes bytes;
  append(callId, bytes);
  SendLocked(std::move(bytes));
}

// False when none of `bytes` can go out any more.
bool ClientConnection::SendLocked(Bytes bytes) {
  const bool waiting = !unsent_.empty();
  unsent_.insert(unsent_.end(), bytes.begin(), bytes.end());
  return waiting || FlushLocked();
}

bool ClientConnection::FlushLocked() {
  std::size_t sent = 0;
  while (sent < unsent_.size()) {
    const ssize_t count = send(socket_, unsent_.data() + sent, unsent_.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
    if (count < 0) {
      unsent_.clear();  // the receiving thread sees the end of the connection
      return sent > 0;
    }
    sent += static_cast<std::size_t>(count);
  }
  unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<std::ptrdiff_t>(sent));
  if (!unsent_.empty()) Receiver::Instance().ChangeWatch(socket_, true);
  return true;
}

std::shared_ptr<ClientCall> ClientConnection::TakeCall(std::uint32_t callId) {
  std::lock_guard guard(lock_);
  const auto node = calls_.extract(callId);
  return node.empty() ? nullptr : node.mapped();
}

bool ClientConnection::HasCall(std::uint32_t callId) {
  std::lock_guard guard(lock_);
  return calls_.contains(callId);
}

// The endings come last: a call's notification routine may wait for another call and so bring the receiving thread
// back in here.
void ClientConnection::OnReady(std::uint32_t events) {
  if ((events & EPOLLOUT) != 0) {
    std::lock_guard guard(lock_);
    FlushLocked();
    if (unsent_.empty()) Receiver::Instance().ChangeWatch(socket_, false);
  }
  std::vector<Ending> endings;
  const bool input = (events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0;
  if (input) {
    const bool open = Receive();
    if (!TakePdus(endings) || !open) Lose(endings);
  }
  for (Ending& ending : endings) ending.call->End(ending.status, std::move(ending.stub));
}

bool ClientConnection::Receive() {
  const auto room = stream_.Room();
  const ssize_t received = recv(socket_, room.data(), room.size(), MSG_DONTWAIT);
  if (received < 0) return errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK;
  stream_.Filled(static_cast<std::size_t>(received));
  return received > 0;
}

bool ClientConnection::TakePdus(std::vector<Ending>& endings) {
  for (;;) {
    PduStream::Item item;
    switch (stream_.Next(item)) {
      case PduStream::Outcome::Incomplete:
        stream_.Drained();
        return true;
      case PduStream::Outcome::Refused:
        return false;
      case PduStream::Outcome::Pdu:
        if (!TakePdu(item, endings)) return false;
    }
  }
}

bool ClientConnection::TakePdu(const PduStream::Item& item, std::vector<Ending>& endings) {
  switch (item.header.type) {
    case PduType::Response:
      return TakeResponse(item, endings);
    case PduType::Fault:
      return TakeFault(item, endings);
    default:
      return false;
  }
}

// An answer to a call that is no longer waited for is dropped.
bool ClientConnection::TakeResponse(const PduStream::Item& item, std::vector<Ending>& endings) {
  ResponsePdu response;
  if (ParseResponse(item.header, item.pdu, response)) return false;
  if (!HasCall(item.header.callId)) {
    reassembly_.Drop(item.header.callId);
    return true;
  }
  Message message;
  switch (reassembly_.Add(item.header, response.contextId, 0, response.stub, message)) {
    case Reassembly::Outcome::Incomplete:
      return true;
    case Reassembly::Outcome::Complete:
      if (auto call = TakeCall(item.header.callId)) endings.push_back({call, RPC_S_OK, std::move(message.stub)});
      return true;
    case Reassembly::Outcome::TooLarge:
    case Reassembly::Outcome::OutOfOrder:
      return false;
  }
  return false;
}

bool ClientConnection::TakeFault(const PduStream::Item& item, std::vector<Ending>& endings) {
  FaultPdu fault;
  if (ParseFault(item.header, item.pdu, fault)) return false;
  reassembly_.Drop(item.header.callId);
  if (auto call = TakeCall(item.header.callId)) endings.push_back({call, StatusFromFault(fault.status), {}});
  return true;
}

void ClientConnection::Lose(std::vector<Ending>& endings) {
  Receiver::Instance().Unwatch(socket_);
  shutdown(socket_, SHUT_RDWR);
  std::lock_guard guard(lock_);
  lost_ = true;
  unsent_.clear();
  for (auto& [callId, call] : calls_) endings.push_back({call, RPC_S_CALL_FAILED, {}});
  calls_.clear();
}

}  // namespace host::rpc
