// What the polling thread does: it looks at the sockets, reads, and finds the next task.
#include <sched.h>
#include <sys/epoll.h>

#include <algorithm>
#include <utility>

#include "platform/host/rpc/server_runtime.h"

namespace host::rpc {

namespace {

constexpr int kEventsAtOnce = 64;
// So many replies that were sent together make their clients a flock, which is read again so often before the others.
constexpr std::size_t kFlock = 16;
constexpr unsigned kLooksAgain = 3;
// How many tasks may go by before the sockets are looked at again.
constexpr unsigned kTasksPerPoll = 128;
constexpr int kForever = -1;

}  // namespace

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
  if (replies_.Flush() >= kFlock && LookAgain()) return nullptr;
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
  looksAgain_ = 0;
  flock_.clear();
  for (int i = 0; i < count; ++i) flock_.push_back(events[i].data.u64);
  HandleEvents(std::span(events).first(static_cast<std::size_t>(std::max(count, 0))));
}

// Clients that have just been answered tend to ask again at once, and what serving them needs is still near then. They
// go before the others a few times, as long as they have something.
bool ServerRuntime::LookAgain() {
  if (looksAgain_ == kLooksAgain) return false;
  ++looksAgain_;
  sched_yield();
  replies_.Open();
  for (const std::uint64_t id : flock_) {
    ServerSession* const session = FindSession(id);
    if (session == nullptr || session->queued || !session->connection().MayRead()) continue;
    if (session->Receive()) {
      Queue(*session);
    } else if (withInput_.empty()) {
      break;  // they are answered in this order: the others have not asked yet either
    }
  }
  if (withInput_.empty()) replies_.Flush();
  return !withInput_.empty();
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

}  // namespace host::rpc
