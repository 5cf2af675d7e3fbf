#include "bench/call_loop.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "bench/clock.h"

namespace bench {

namespace {

constexpr int kEventsAtOnce = 64;
constexpr std::size_t kLongestReply = 256;

class CallLoop {
 public:
  explicit CallLoop(const std::vector<CallingClient>& clients)
      : clients_(clients), sent_(clients.size()), epoll_(epoll_create1(EPOLL_CLOEXEC)) {}
  ~CallLoop() { close(epoll_); }
  CallLoop(const CallLoop&) = delete;
  CallLoop& operator=(const CallLoop&) = delete;

  bool Run(std::int64_t nanoseconds, CallTimes* times) {
    const std::int64_t begin = Now();
    until_ = begin + nanoseconds;
    for (std::uint32_t i = 0; i < clients_.size(); ++i) {
      epoll_event event{EPOLLIN, {.u32 = i}};
      if (epoll_ctl(epoll_, EPOLL_CTL_ADD, clients_[i].socket, &event) != 0 || !Call(i)) return false;
    }
    while (calling_ > 0) {
      if (!TakeReplies()) return false;
    }
    times->callsPerSecond = static_cast<double>(roundTrips_.size()) * 1e9 / static_cast<double>(Now() - begin);
    times->roundTrips = std::move(roundTrips_);
    return true;
  }

 private:
  bool Call(std::uint32_t client) {
    sent_[client] = Now();
    ++calling_;
    return Send(clients_[client].socket, clients_[client].request);
  }

  bool TakeReplies() {
    epoll_event events[kEventsAtOnce];
    const int count = epoll_wait(epoll_, events, kEventsAtOnce, -1);
    for (int i = 0; i < count; ++i) {
      if (!TakeReply(events[i].data.u32)) return false;
    }
    return count >= 0;
  }

  bool TakeReply(std::uint32_t number) {
    const CallingClient& client = clients_[number];
    std::byte reply[kLongestReply];
    const ssize_t size = recv(client.socket, reply, sizeof(reply), 0);
    const std::int64_t now = Now();
    if (size != static_cast<ssize_t>(client.reply.size())) return false;
    if (!std::equal(client.reply.begin(), client.reply.end(), reply)) return false;
    roundTrips_.push_back(now - sent_[number]);
    --calling_;
    return now >= until_ || Call(number);
  }

  const std::vector<CallingClient>& clients_;
  std::vector<std::int64_t> sent_;
  const int epoll_;
  std::int64_t until_ = 0;
  unsigned calling_ = 0;
  std::vector<std::int64_t> roundTrips_;
};

}  // namespace

bool CallFor(std::int64_t nanoseconds, const std::vector<CallingClient>& clients, CallTimes* times) {
  return CallLoop(clients).Run(nanoseconds, times);
}

void CloseAll(const std::vector<CallingClient>& clients) {
  for (const CallingClient& client : clients) {
    if (client.socket >= 0) close(client.socket);
  }
}

}  // namespace bench
