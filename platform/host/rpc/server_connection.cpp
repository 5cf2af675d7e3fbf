#include "platform/host/rpc/server_connection.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/host/rpc/client_share.h"
#include "platform/host/rpc/reply_batch.h"
#include "platform/host/rpc/server_call.h"

namespace host::rpc {

ServerConnection::ServerConnection(std::uint64_t id, int socket, const Peer& peer, int epoll, ReplyBatch& batch)
    : id_(id), peer_(peer), epoll_(epoll), batch_(batch), socket_(socket) {}

ServerConnection::~ServerConnection() {
  if (socket_ >= 0) close(socket_);
  CountUnsent(0);
}

bool ServerConnection::Watch() {
  std::lock_guard guard(lock_);
  interest_ = EPOLLIN;
  epoll_event event{interest_, {.u64 = id_}};
  return epoll_ctl(epoll_, EPOLL_CTL_ADD, socket_, &event) == 0;
}

ssize_t ServerConnection::Receive(std::span<std::byte> room) {
  const ssize_t size = recv(socket_, room.data(), room.size(), MSG_DONTWAIT);
  if (size > 0) return size;
  return size < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
}

std::size_t ServerConnection::UnsentBytes() const {
  std::lock_guard guard(lock_);
  return unsent_.size() - unsentStart_;
}

void ServerConnection::Send(std::span<const std::byte> bytes) {
  std::lock_guard guard(lock_);
  SendLocked(bytes);
}

void ServerConnection::SendReply(std::uint32_t callId, std::span<const std::byte> bytes) {
  std::lock_guard guard(lock_);
  const auto found = CallsFrom(callId);
  if (!IsInProgress(found, callId)) return;
  found->call = nullptr;
  // In one go once half of them have ended: each of thousands need not move the others.
  if (++endedCalls_ * 2 > calls_.size()) {
    std::erase_if(calls_, [](const CallInProgress& call) { return call.call == nullptr; });
    endedCalls_ = 0;
  }
  if (!AddToBatch(bytes)) SendLocked(bytes);
}

// Whether the socket is the batch's at present.
bool ServerConnection::Batched() const {
  return batchNumber_ == batch_.Number();
}

bool ServerConnection::AddToBatch(std::span<const std::byte> bytes) {
  if (bytes.empty() || socket_ < 0 || broken_ || !unsent_.empty() || Batched()) return false;
  // The number stays as it is while anything can be added.
  const std::uint64_t number = batch_.Number();
  if (!batch_.Add(*this, socket_, bytes)) return false;
  batchNumber_ = number;
  return true;
}

void ServerConnection::TakeBack(std::span<const std::byte> reply, int sent) {
  std::lock_guard guard(lock_);
  if (socket_ < 0 || broken_) return;
  if (sent < 0 && sent != -EAGAIN && sent != -EINTR) return Break();
  reply = reply.subspan(sent > 0 ? static_cast<std::size_t>(sent) : 0);
  unsent_.insert(unsent_.begin() + static_cast<std::ptrdiff_t>(unsentStart_), reply.begin(), reply.end());
  UpdateInterest();
}

void ServerConnection::SendLocked(std::span<const std::byte> bytes) {
  if (socket_ < 0 || broken_) return;
  if (unsent_.empty() && !Batched()) bytes = bytes.subspan(Write(bytes));
  if (bytes.empty() || broken_) return;
  unsent_.insert(unsent_.end(), bytes.begin(), bytes.end());
  UpdateInterest();
}

// How much the socket took.
std::size_t ServerConnection::Write(std::span<const std::byte> bytes) {
  const ssize_t size = send(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (size >= 0) return static_cast<std::size_t>(size);
  if (errno != EAGAIN && errno != EINTR) Break();
  return 0;
}

// A socket that fails is shut down, so that the polling thread learns of it.
void ServerConnection::Break() {
  broken_ = true;
  shutdown(socket_, SHUT_RDWR);
}

void ServerConnection::Flush() {
  std::lock_guard guard(lock_);
  if (socket_ < 0) return;
  if (!broken_ && !unsent_.empty()) unsentStart_ += Write(std::span(unsent_).subspan(unsentStart_));
  if (broken_ || unsentStart_ == unsent_.size()) {
    unsent_ = {};  // few clients come here, and not often
    unsentStart_ = 0;
  } else if (unsentStart_ >= kUnsentLow) {
    unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<std::ptrdiff_t>(unsentStart_));
    unsentStart_ = 0;
  }
  UpdateInterest();
}

void ServerConnection::UpdateInterest() {
  const std::size_t size = unsent_.size() - unsentStart_;
  CountUnsent(size);
  const bool clientOverfull = peer_.share->unsentBytes > kMaxUnsentOfClient;
  if (size > (clientOverfull ? kUnsentLeast : kUnsentHigh)) overfull_ = true;
  if (size <= (clientOverfull ? kUnsentLeast : kUnsentLow)) overfull_ = false;
  const std::uint32_t interest = (overfull_ ? 0u : EPOLLIN) | (size > 0 ? EPOLLOUT : 0u);
  if (std::exchange(interest_, interest) == interest) return;
  epoll_event event{interest, {.u64 = id_}};
  epoll_ctl(epoll_, EPOLL_CTL_MOD, socket_, &event);
}

void ServerConnection::CountUnsent(std::size_t size) {
  peer_.share->unsentBytes += size - std::exchange(unsentCounted_, size);
}

void ServerConnection::Close() {
  std::lock_guard guard(lock_);
  if (socket_ < 0) return;
  closed_ = true;
  epoll_ctl(epoll_, EPOLL_CTL_DEL, socket_, nullptr);
  close(std::exchange(socket_, -1));
  unsent_ = {};
  unsentStart_ = 0;
  CountUnsent(0);
  for (const auto& [callId, call] : std::exchange(calls_, {})) {
    if (call != nullptr) call->MarkCancelled();
  }
  endedCalls_ = 0;
}

bool ServerConnection::AddCall(std::uint32_t callId, ServerCall& call) {
  std::lock_guard guard(lock_);
  const auto next = CallsFrom(callId);
  if (IsInProgress(next, callId)) return false;
  calls_.insert(next, {callId, &call});
  return true;
}

void ServerConnection::Cancel(std::uint32_t callId, bool orphaned) {
  std::lock_guard guard(lock_);
  const auto found = CallsFrom(callId);
  if (!IsInProgress(found, callId)) return;
  orphaned ? found->call->MarkOrphaned() : found->call->MarkCancelled();
}

bool ServerConnection::IsInProgress(std::vector<CallInProgress>::iterator call, std::uint32_t callId) const {
  return call != calls_.end() && call->id == callId && call->call != nullptr;
}

// A number that has been used again comes before its ended call.
std::vector<ServerConnection::CallInProgress>::iterator ServerConnection::CallsFrom(std::uint32_t callId) {
  return std::lower_bound(calls_.begin(), calls_.end(), callId,
                          [](const CallInProgress& call, std::uint32_t id) { return call.id < id; });
}

}  // namespace host::rpc
