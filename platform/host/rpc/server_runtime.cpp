#include "platform/host/rpc/server_runtime.h"

#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/host/base/access_rights.h"
#include "platform/host/security/sddl.h"

namespace host::rpc {

namespace {

constexpr int kAcceptsAtOnce = 16;

void WatchFor(int epoll, int operation, int descriptor, std::uint64_t id, std::uint32_t events) {
  epoll_event event{events, {.u64 = id}};
  epoll_ctl(epoll, operation, descriptor, &event);
}

bool OutOfDescriptors(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

unsigned ConnectionsOfClient() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return kMaxConnectionsOfClient;
  return static_cast<unsigned>(std::min<rlim_t>(kMaxConnectionsOfClient, limit.rlim_cur / 4 * 3));
}

}  // namespace

ServerRuntime& ServerRuntime::Instance() {
  static ServerRuntime* const runtime = new ServerRuntime;
  return *runtime;
}

ServerRuntime::ServerRuntime() : epoll_(epoll_create1(EPOLL_CLOEXEC)), nextId_(kPostedId + 1) {
  WatchFor(epoll_, EPOLL_CTL_ADD, posted_.descriptor(), kPostedId, EPOLLIN);
}

RPC_STATUS ServerRuntime::StartThreads() {
  const bool usable = epoll_ >= 0 && posted_.descriptor() >= 0;
  return usable && threads_.Start() ? RPC_S_OK : RPC_S_OUT_OF_RESOURCES;
}

RPC_STATUS ServerRuntime::AddEndpoint(const std::string& name, int backlog, const std::string& descriptor) {
  if (const auto status = StartThreads()) return status;
  ServerEndpoint endpoint{name, -1, descriptor};
  if (const auto status = OpenEndpoint(name, backlog, &endpoint.socket)) return status;
  std::lock_guard guard(lock_);
  const std::uint64_t id = nextId_++;
  endpoints_.emplace(id, endpoint);
  WatchFor(epoll_, EPOLL_CTL_ADD, endpoint.socket, id, EPOLLIN);
  return RPC_S_OK;
}

std::vector<std::string> ServerRuntime::EndpointNames() const {
  std::lock_guard guard(lock_);
  std::vector<std::string> names;
  for (const auto& [id, endpoint] : endpoints_) names.push_back(endpoint.name);
  return names;
}

void ServerRuntime::CloseEndpoints() {
  std::lock_guard guard(lock_);
  for (const auto& [id, endpoint] : std::exchange(endpoints_, {})) CloseEndpoint(endpoint);
}

RPC_STATUS ServerRuntime::Listen() {
  std::unique_lock guard(lock_);
  if (listening_) return RPC_S_ALREADY_LISTENING;
  if (endpoints_.empty()) return RPC_S_NO_PROTSEQS_REGISTERED;
  listening_ = true;
  listenEnds_.wait(guard, [this] { return !listening_; });
  return RPC_S_OK;
}

void ServerRuntime::EndListening() {
  std::lock_guard guard(lock_);
  listening_ = false;
  listenEnds_.notify_all();
}

RPC_STATUS ServerRuntime::Unregister(const InterfaceDescription& description, bool wait) {
  const RPC_STATUS status = interfaces_.Unregister(description, wait);
  if (wait) replies_.Settle();
  return status;
}

unsigned ServerRuntime::ConnectionCount() const {
  std::lock_guard guard(lock_);
  return static_cast<unsigned>(sessions_.size());
}

std::size_t ServerRuntime::UnsentBytes() const {
  std::vector<std::shared_ptr<ServerSession>> sessions;
  {
    std::lock_guard guard(lock_);
    for (const auto& [id, session] : sessions_) sessions.push_back(session);
  }
  std::size_t bytes = 0;
  for (const auto& session : sessions) bytes += session->connection().UnsentBytes();
  return bytes;
}

void ServerRuntime::AcceptFrom(std::uint64_t listener) {
  ServerEndpoint endpoint;
  {
    std::lock_guard guard(lock_);
    const auto found = endpoints_.find(listener);
    if (found == endpoints_.end()) return;
    endpoint = found->second;
  }
  for (int i = 0; i < kAcceptsAtOnce; ++i) {
    if (!CanLookUpPeer(endpoint.socket)) return PauseAccepting(true);
    const int socket = accept4(endpoint.socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0) {
      AcceptOne(socket, endpoint);
    } else if (OutOfDescriptors(errno)) {
      return PauseAccepting(true);
    } else if (errno != ECONNABORTED && errno != EINTR) {
      return;
    }
  }
}

// The one place where a connection is admitted: its client is looked up here, and never again. A client that the
// endpoint's descriptor keeps out is heard once, for an answer that tells it so.
void ServerRuntime::AcceptOne(int socket, const ServerEndpoint& endpoint) {
  auto peer = LookUpPeer(socket);
  if (peer) peer->share = shares_.Of(peer->pid, peer->startTime);
  if (!peer || peer->share->connections >= ConnectionsOfClient()) {
    close(socket);
    return;
  }
  const bool admitted = AccessGranted(endpoint.descriptor, IdentityOf(*peer->token), GENERIC_ALL);
  auto connection = std::make_shared<ServerConnection>(TakeId(), socket, *peer, epoll_, replies_);
  if (!connection->Watch()) return;
  ++peer->share->connections;
  std::lock_guard guard(lock_);
  sessions_.emplace(connection->id(), std::make_shared<ServerSession>(tables_, connection, endpoint.name, admitted));
}

std::uint64_t ServerRuntime::TakeId() {
  std::lock_guard guard(lock_);
  return nextId_++;
}

// A listening socket that cannot be accepted from would report itself without end.
void ServerRuntime::PauseAccepting(bool pause) {
  acceptingPaused_ = pause;
  acceptAgain_ = std::chrono::steady_clock::now() + kAcceptRetry;
  std::lock_guard guard(lock_);
  for (const auto& [id, endpoint] : endpoints_) {
    WatchFor(epoll_, EPOLL_CTL_MOD, endpoint.socket, id, pause ? 0u : EPOLLIN);
  }
}

}  // namespace host::rpc
