#include "bench/event_clients.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <iterator>
#include <utility>

#include "bench/clock.h"
#include "bench/raw_events.h"
#include "bench/server_roles.h"
#include "platform/host/link/unix_socket.h"

namespace bench {

namespace {

constexpr int kEventsAtOnce = 64;

EventClient SubscribeRaw() {
  EventClient client{host::ConnectUnixSocket(RawEventsPath()), Bytes(kRawWaitSize)};
  if (client.socket < 0) CannotGoOn("connect to the raw server");
  return client;
}

std::vector<EventClient> Make(unsigned count, EventClient (*make)()) {
  std::vector<EventClient> clients;
  for (unsigned i = 0; i < count; ++i) clients.push_back(make());
  return clients;
}

}  // namespace

EventClients EventClients::OfProduct(const ServerProcess& server, unsigned count) {
  return {server, true, Make(count, &Subscribe)};
}

EventClients EventClients::OfRaw(const ServerProcess& server, unsigned count) {
  return {server, false, Make(count, &SubscribeRaw)};
}

EventClients::EventClients(const ServerProcess& server, bool numbered, std::vector<EventClient> clients)
    : server_(server),
      control_(server.Control()),
      numbered_(numbered),
      clients_(std::move(clients)),
      epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  control_.delivered = 0;
  control_.read = 0;
  control_.ended = 0;
  control_.clients = static_cast<std::uint32_t>(clients_.size());
  for (EventClient& client : clients_) {
    epoll_event event{EPOLLIN, {.ptr = &client}};
    if (epoll_ctl(epoll_, EPOLL_CTL_ADD, client.socket, &event) != 0) CannotGoOn("be watched");
    if (!Send(client.socket, client.wait)) CannotGoOn("wait for an event");
  }
}

EventClients::~EventClients() {
  for (const EventClient& client : clients_) close(client.socket);
  close(epoll_);
  server_.AwaitIdle();
}

void EventClients::ReadEvent(EventClient& client) {
  std::byte event[256];
  if (recv(client.socket, event, sizeof(event), 0) != static_cast<ssize_t>(kEventSize)) CannotGoOn("read an event");
  std::uint32_t number = client.read;
  if (numbered_) std::memcpy(&number, event + kEventNumberOffset, sizeof(number));
  if (number != client.read) CannotGoOn("read the events in their order");
  std::uint32_t& reads = reads_[client.read++ % std::size(reads_)];
  if (++reads == clients_.size()) {
    lastRead_ = Now();
    reads = 0;
    control_.CountRead();
  }
  if (!Send(client.socket, client.wait)) CannotGoOn("wait for the next event");
}

void EventClients::ReadReady() {
  epoll_event events[kEventsAtOnce];
  const int count = epoll_wait(epoll_, events, kEventsAtOnce, -1);
  for (int i = 0; i < count; ++i) ReadEvent(*static_cast<EventClient*>(events[i].data.ptr));
}

void EventClients::ReadAll() {
  while (control_.InFlight() > 0) ReadReady();
}

std::int64_t EventClients::ReadOne() {
  const std::uint32_t before = control_.read;
  server_.Order(kDeliverOne);
  while (control_.read == before) ReadReady();
  return lastRead_ - control_.begun;
}

double EventClients::ReadFor(std::int64_t nanoseconds) {
  control_.ended = 0;
  const std::uint32_t before = control_.read;
  const std::int64_t begin = Now();
  server_.Order(kDeliverMany);
  while (Now() < begin + nanoseconds) ReadReady();
  const double rate = (control_.read - before) * 1e9 / static_cast<double>(Now() - begin);
  control_.ended = 1;
  ReadAll();  // which also lets the server go on that waits for it
  server_.AwaitAnswer();
  ReadAll();  // what was handed out meanwhile
  return rate;
}

}  // namespace bench
