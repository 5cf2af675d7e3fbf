#include "machine/control_server.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "platform/host/base/process_stat.h"
#include "platform/host/link/unix_socket.h"

namespace machine {

namespace {

constexpr int kBacklog = 512;
// Out of descriptors: look again after this time instead of being woken for ever by a connection nobody can take.
constexpr std::chrono::milliseconds kAcceptPause{100};

bool LookUpPeer(int socket, Peer* peer) {
  ucred credentials = {};
  socklen_t size = sizeof(credentials);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return false;
  peer->pid = credentials.pid;
  peer->startTime = host::ProcessStartTime(credentials.pid);
  return true;
}

}  // namespace

ControlServer::~ControlServer() {
  CloseConnections(nullptr);
  loop_.Cancel(resumeTimer_);
  if (listener_.valid()) loop_.Unwatch(listener_.get());
}

bool ControlServer::Listen(const std::string& path, std::string* error) {
  listener_ = UniqueDescriptor(host::ListenUnixSocket(path, kBacklog));
  if (listener_.valid() && loop_.Watch(listener_.get(), EPOLLIN, [this](std::uint32_t) { AcceptWaiting(); }))
    return true;
  *error = "cannot listen at " + path + ": " + std::strerror(errno);
  listener_.Close();
  return false;
}

void ControlServer::FlushConnections(std::chrono::milliseconds limit) {
  for (const auto& [id, connection] : connections_) connection->Flush(limit);
}

void ControlServer::CloseConnections(const Connection* survivor) {
  std::vector<std::shared_ptr<Connection>> ending;
  for (const auto& [id, connection] : connections_) {
    if (connection.get() != survivor) ending.push_back(connection);
  }
  for (const auto& connection : ending) connection->Close();
}

void ControlServer::AcceptWaiting() {
  for (;;) {
    const int socket = accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0) {
      Admit(socket);
      continue;
    }
    if (errno == EINTR || errno == ECONNABORTED) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) PauseAccepting();
    return;
  }
}

void ControlServer::Admit(int socket) {
  UniqueDescriptor owned(socket);
  Peer peer;
  if (!LookUpPeer(socket, &peer)) return;
  const std::uint64_t id = nextConnection_++;
  const auto connection = std::make_shared<Connection>(loop_, std::move(owned), peer, id);
  const bool started = connection->Start(
      [this](const std::shared_ptr<Connection>& from, const std::string& payload) {
        if (!operations_.Dispatch(from, payload)) from->Close();
      },
      [this, id] { connections_.erase(id); });
  if (started) connections_[id] = connection;
}

void ControlServer::PauseAccepting() {
  loop_.ChangeEvents(listener_.get(), 0);
  resumeTimer_ = loop_.After(kAcceptPause, [this] { loop_.ChangeEvents(listener_.get(), EPOLLIN); });
}

}  // namespace machine
