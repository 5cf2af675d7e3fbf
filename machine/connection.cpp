#include "machine/connection.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <nlohmann/json.hpp>

namespace machine {

namespace {

constexpr std::size_t kMaxUnsent = std::size_t{64} << 20;

bool WouldBlock() {
  return errno == EAGAIN || errno == EWOULDBLOCK;
}

}  // namespace

Connection::Connection(Loop& loop, UniqueDescriptor socket, Peer peer, std::uint64_t id)
    : loop_(loop), socket_(std::move(socket)), peer_(peer), id_(id) {}

Connection::~Connection() {
  if (open()) loop_.Unwatch(socket_.get());
}

bool Connection::Start(MessageHandler onMessage, std::function<void()> onEnd) {
  onMessage_ = std::move(onMessage);
  onEnd_ = std::move(onEnd);
  return loop_.Watch(socket_.get(), EPOLLIN, [weak = weak_from_this()](std::uint32_t events) {
    if (const auto self = weak.lock()) self->HandleReady(events);
  });
}

void Connection::Send(const nlohmann::json& message) {
  if (!open()) return;
  const std::string payload = message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  if (payload.size() > host::kMaxFrameSize || unsent_.size() > kMaxUnsent) {
    CloseSoon();
    return;
  }
  const bool idle = unsent_.empty();
  unsent_ += host::EncodeFrame(payload);
  if (idle) WriteQueued();
}

void Connection::Close() {
  if (!open()) return;
  loop_.Unwatch(socket_.get());
  socket_.Close();
  const auto self = shared_from_this();
  ReleaseHoldings();
  if (onEnd_) onEnd_();
}

void Connection::ReleaseHoldings() {
  std::vector<std::function<void()>> hooks;
  hooks.swap(closeHooks_);
  for (const auto& hook : hooks) hook();
}

void Connection::Flush(std::chrono::milliseconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  while (open() && !unsent_.empty() && Clock::now() < deadline) {
    pollfd ready = {socket_.get(), POLLOUT, 0};
    if (poll(&ready, 1, 20) > 0) WriteQueued();
  }
}

void Connection::HandleReady(std::uint32_t events) {
  const auto self = shared_from_this();
  if ((events & EPOLLOUT) != 0) WriteQueued();
  if (open() && (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) ReadAvailable();
}

void Connection::ReadAvailable() {
  char buffer[65536];
  const ssize_t count = recv(socket_.get(), buffer, sizeof(buffer), MSG_DONTWAIT);
  if (count < 0 && (WouldBlock() || errno == EINTR)) return;
  if (count <= 0) {
    Close();
    return;
  }
  frames_.Append(buffer, static_cast<std::size_t>(count));
  DeliverMessages();
}

void Connection::DeliverMessages() {
  std::string payload;
  while (open()) {
    const host::FrameReader::Result result = frames_.Take(&payload);
    if (result == host::FrameReader::Result::kIncomplete) return;
    if (result == host::FrameReader::Result::kTooLarge) {
      Close();
      return;
    }
    onMessage_(shared_from_this(), payload);
  }
}

void Connection::WriteQueued() {
  while (!unsent_.empty()) {
    const ssize_t count = send(socket_.get(), unsent_.data(), unsent_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && WouldBlock()) break;
    if (count < 0) {
      CloseSoon();
      return;
    }
    unsent_.erase(0, static_cast<std::size_t>(count));
  }
  loop_.ChangeEvents(socket_.get(), EPOLLIN | (unsent_.empty() ? 0u : EPOLLOUT));
}

// Not closed on the spot: the sender may be in the middle of something that hangs on this connection.
void Connection::CloseSoon() {
  unsent_.clear();
  loop_.Post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->Close();
  });
}

}  // namespace machine
