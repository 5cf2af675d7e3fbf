#include "platform/host/runtime/app_service_channel.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "platform/host/link/unix_socket.h"

namespace host::runtime {

namespace {

constexpr int kReceiveRounds = 4;

}  // namespace

std::shared_ptr<AppServiceChannel> AppServiceChannel::Connect(const std::string& socketPath) {
  const int socket = ConnectUnixSocket(socketPath);
  return socket < 0 ? nullptr : std::make_shared<AppServiceChannel>(socket);
}

AppServiceChannel::~AppServiceChannel() {
  if (watched_) rpc::Receiver::Instance().Unwatch(socket_);
  close(socket_);
}

std::uint64_t AppServiceChannel::NextId() {
  const std::lock_guard lock(mutex_);
  return ++lastId_;
}

// The bytes go out before the socket is watched: the first request does not wait for the receiving thread's start.
void AppServiceChannel::Send(std::uint64_t id, const std::string& request, OnAnswer onAnswer) {
  const std::string frame = EncodeFrame(request);
  bool sound = false;
  {
    const std::lock_guard lock(mutex_);
    unsent_.reserve(unsent_.size() + frame.size());  // so that nothing is thrown halfway
    pending_.emplace(id, std::move(onAnswer));
    unsent_ += frame;
    sound = !lost_ && FlushLocked() && WatchLocked();
  }
  if (!sound) Lose();
}

void AppServiceChannel::Forget(std::uint64_t id) {
  Pending::node_type forgotten;  // goes after the lock has been left
  const std::lock_guard lock(mutex_);
  forgotten = pending_.extract(id);
}

void AppServiceChannel::OnReady(std::uint32_t events) {
  bool sound = true;
  if ((events & EPOLLOUT) != 0) {
    const std::lock_guard lock(mutex_);
    sound = FlushLocked();
    if (unsent_.empty()) rpc::Receiver::Instance().ChangeWatch(socket_, false);
  }
  const bool input = (events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0;
  try {
    if (sound && input) {
      const bool open = Receive();
      sound = TakeAnswers() && open;
    }
  } catch (const std::bad_alloc&) {
    sound = false;
  }
  if (!sound) Lose();
}

bool AppServiceChannel::WatchLocked() {
  try {
    if (!watched_) watched_ = rpc::Receiver::Instance().Watch(socket_, weak_from_this(), !unsent_.empty());
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::system_error&) {
    return false;  // no thread to receive with
  }
  return watched_;
}

bool AppServiceChannel::FlushLocked() {
  std::size_t sent = 0;
  while (sent < unsent_.size()) {
    const ssize_t count = send(socket_, unsent_.data() + sent, unsent_.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
    if (count < 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  unsent_.erase(0, sent);
  if (!unsent_.empty() && watched_) rpc::Receiver::Instance().ChangeWatch(socket_, true);
  return true;
}

// False when nothing more will come. What is left after some rounds makes the socket ready again: an app service that
// sends without end is not to keep the thread from the others, nor to fill the memory.
bool AppServiceChannel::Receive() {
  char buffer[16384];
  for (int round = 0; round < kReceiveRounds; ++round) {
    const ssize_t count = recv(socket_, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
    if (count <= 0) return false;
    frames_.Append(buffer, static_cast<std::size_t>(count));
  }
  return true;
}

// False when what came is not what app services send.
bool AppServiceChannel::TakeAnswers() {
  std::string payload;
  FrameReader::Result result;
  while ((result = frames_.Take(&payload)) == FrameReader::Result::kMessage) {
    auto answer = DecodeAnswer(payload);
    if (!answer) return false;
    Pending::node_type answered;
    {
      const std::lock_guard lock(mutex_);
      answered = pending_.extract(answer->id);
    }
    if (answered) answered.mapped()(std::move(answer->message));
  }
  return result == FrameReader::Result::kIncomplete;
}

void AppServiceChannel::Lose() {
  Pending lost;
  {
    const std::lock_guard lock(mutex_);
    lost_ = true;
    if (watched_) rpc::Receiver::Instance().Unwatch(socket_);
    watched_ = false;
    shutdown(socket_, SHUT_RDWR);
    lost.swap(pending_);
  }
  for (auto& [id, onAnswer] : lost) onAnswer({});
}

}  // namespace host::runtime
