#include "bench/raw_events.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>

#include "bench/clock.h"
#include "bench/server_roles.h"

namespace bench {

namespace {

constexpr int kRawEventsAtOnce = 64;

struct Client {
  int socket = -1;
  bool waits = false;
  std::uint32_t queued = 0;  // events that it has not asked for yet
};

class RawEventServer {
 public:
  RawEventServer(int listener, int orders, EventControl& control)
      : listener_(listener), orders_(orders), epoll_(epoll_create1(EPOLL_CLOEXEC)), control_(control) {}

  int Serve() {
    if (!Watch(listener_, &listener_) || !Watch(orders_, &orders_)) return 1;
    for (;;) {
      epoll_event events[kRawEventsAtOnce];
      const int count = epoll_wait(epoll_, events, kRawEventsAtOnce, -1);
      for (int i = 0; i < count; ++i) {
        if (!Take(events[i].data.ptr)) return 1;
      }
      if (!CarryOut()) return 1;
    }
  }

 private:
  bool Watch(int file, void* key) {
    epoll_event event{EPOLLIN, {.ptr = key}};
    return epoll_ctl(epoll_, EPOLL_CTL_ADD, file, &event) == 0;
  }

  bool Take(void* key) {
    if (key == &listener_) return Accept();
    if (key == &orders_) return read(orders_, &order_, 1) == 1;
    TakeWait(*static_cast<Client*>(key));
    return true;
  }

  bool Accept() {
    Client& client = clients_.emplace_back();
    client.socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    return client.socket >= 0 && Watch(client.socket, &client);
  }

  void TakeWait(Client& client) {
    std::byte wait[kRawWaitSize];
    if (recv(client.socket, wait, sizeof(wait), 0) != static_cast<ssize_t>(sizeof(wait))) {
      close(client.socket);
      client.socket = -1;
      waiting_ -= client.waits ? 1 : 0;
      client.waits = false;
    } else if (client.queued > 0) {
      --client.queued;
      SendEvent(client);
    } else {
      client.waits = true;
      ++waiting_;
    }
  }

  void SendEvent(const Client& client) {
    const std::byte event[kRawEventSize]{};
    send(client.socket, event, sizeof(event), MSG_NOSIGNAL);
  }

  void Deliver() {
    ++control_.delivered;
    for (Client& client : clients_) {
      if (client.socket < 0) continue;
      if (!client.waits) {
        ++client.queued;
        continue;
      }
      client.waits = false;
      --waiting_;
      SendEvent(client);
    }
  }

  bool CarryOut() {
    if (order_ == kDeliverOne && waiting_ == control_.clients) {
      order_ = 0;
      Rest();
      control_.begun = Now();
      Deliver();
    } else if (order_ == kDeliverMany) {
      while (control_.ended == 0 && !control_.Full()) Deliver();
      if (control_.ended == 0) return true;
      order_ = 0;
      return Answer(true);
    } else if (order_ == kAwaitIdle) {
      for (const Client& client : clients_) {
        if (client.socket >= 0) return true;
      }
      clients_.clear();
      order_ = 0;
      return Answer(true);
    }
    return true;
  }

  int listener_;
  int orders_;
  const int epoll_;
  EventControl& control_;
  std::deque<Client> clients_;  // in the order of their coming; their addresses stay
  unsigned waiting_ = 0;
  char order_ = 0;  // what is to be done, 0: nothing
};

}  // namespace

int ServeRawEvents(int listener, int orders, EventControl& control) {
  return RawEventServer(listener, orders, control).Serve();
}

}  // namespace bench
