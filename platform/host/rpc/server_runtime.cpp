#include "platform/host/rpc/server_runtime.h"

#include <sched.h>
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

// What epoll reports posted tasks as; endpoints and connections are numbered from there on.
constexpr std::uint64_t kPostedId = 1;
constexpr int kEventsAtOnce = 64;
constexpr int kAcceptsAtOnce = 16;
// How many tasks may go by before the sockets are looked at again.
constexpr unsigned kTasksPerPoll = 128;
// How long accepting rests when the process has run out of file descriptors.
constexpr std::chrono::milliseconds kAcceptRetry{500};
constexpr int kForever = -1;

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

// What is ready goes before what has been read, and that before what is still in the sockets, but none for ever.
std::shared_ptr<Task> ServerRuntime::Next() {
  if (replies_.LeftByAnother()) replies_.Flush();
  if (replies_.Overdue()) {
    replies_.Flush();
    replies_.Open();
  }
  if (sincePoll_ < kTasksPerPoll) {
    ++sincePoll_;
    if (auto task = posted_.Take()) return task;
    if (!withInput_.empty()) return NextFromSessions();
  }
  sincePoll_ = 0;
  replies_.Flush();
  const int whenIdle = acceptingPaused_ ? static_cast<int>(kAcceptRetry.count()) : kForever;
  Poll(withInput_.empty() && !posted_.Any() ? whenIdle : 0);
  return nullptr;
}

// One PDU of each session in turn.
std::shared_ptr<Task> ServerRuntime::NextFromSessions() {
  ServerSession& session = *withInput_.front();
  withInput_.pop_front();
  session.queued = false;
  std::shared_ptr<Task> task;
  if (session.Next(&task)) {
    Queue(session);
  } else if (session.Over()) {
    task = End(session);
  }
  return task;
}

void ServerRuntime::Queue(ServerSession& session) {
  if (std::exchange(session.queued, true)) return;
  withInput_.push_back(&session);
}

// What a connection has been told last may stand behind a reply that was kept.
std::shared_ptr<Task> ServerRuntime::End(ServerSession& session) {
  replies_.Flush();
  session.connection().Flush();
  auto rundown = session.End();
  std::shared_ptr<ServerSession> ended;  // let go of after the lock
  {
    std::lock_guard guard(lock_);
    const auto found = sessions_.find(session.connection().id());
    if (found == sessions_.end()) return rundown;
    --session.connection().peer().share->connections;
    ended = std::move(found->second);
    sessions_.erase(found);
  }
  if (acceptingPaused_) PauseAccepting(false);
  return rundown;
}

ServerSession* ServerRuntime::FindSession(std::uint64_t id) const {
  const auto found = sessions_.find(id);
  return found == sessions_.end() ? nullptr : found->second.get();
}

// All are read before the first is served: its reply may wake a client that then takes the processor.
void ServerRuntime::Poll(int timeout) {
  epoll_event events[kEventsAtOnce];
  int count = epoll_wait(epoll_, events, kEventsAtOnce, timeout);
  if (posted_.TakeDelivery()) {
    // The others first: those that have an event already ask for the next one before the last have this one.
    sched_yield();
    count = epoll_wait(epoll_, events, kEventsAtOnce, 0);
  }
  if (acceptingPaused_ && std::chrono::steady_clock::now() >= acceptAgain_) PauseAccepting(false);
  if (count > 1) replies_.Open();
  HandleEvents(std::span(events).first(static_cast<std::size_t>(std::max(count, 0))));
}

// The state of hundreds of connections lies all over the memory. Asked for together it comes in a fraction of the time
// that it takes one by one. No session ends before all are through.
void ServerRuntime::HandleEvents(std::span<const epoll_event> events) {
  ServerSession* sessions[kEventsAtOnce];
  for (std::size_t i = 0; i < events.size(); ++i) {
    sessions[i] = FindSession(events[i].data.u64);
    if (sessions[i] != nullptr) sessions[i]->Prefetch();
  }
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (sessions[i] != nullptr) sessions[i]->PrefetchParts();
  }
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (sessions[i] != nullptr)
      HandleEvent(*sessions[i], events[i].events);
    else if (events[i].data.u64 == kPostedId)
      posted_.Acknowledge();
    else
      AcceptFrom(events[i].data.u64);
  }
}

void ServerRuntime::HandleEvent(ServerSession& session, std::uint32_t events) {
  auto& connection = session.connection();
  if ((events & EPOLLOUT) != 0) connection.Flush();
  const bool hungUp = (events & (EPOLLHUP | EPOLLERR)) != 0;
  if (connection.MayRead()) {
    // What a client sends faster than it is served stays in its socket, and keeps the client.
    if (!session.queued) session.Receive();
  } else if (hungUp) {
    session.SetHungUp();
  }
  Queue(session);
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
