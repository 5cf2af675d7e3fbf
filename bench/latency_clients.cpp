#include "bench/latency_clients.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "bench/clock.h"
#include "bench/prepared_calls.h"
#include "platform/host/rpc/hkd04a7_description.h"

using namespace host::rpc;

namespace {

struct Client {
  int socket = -1;
  Bytes wait;  // the request for the next event
};

bool Subscribe(const char* socketPath, Client& client) {
  client.socket = bench::ConnectAndBind(socketPath, bench::ProductInterface());
  if (client.socket < 0) return false;
  Call wait;
  wait.arguments.resize(2);
  wait.arguments[0].token = bench::OpenHandle(client.socket, bench::ProductProcedure(hkd04a7::kEventNotifyCreate));
  if (wait.arguments[0].token.IsNull()) return false;
  client.wait = bench::RequestFor(bench::ProductProcedure(hkd04a7::kEventNotifyWaitEventAsync), wait);
  return bench::Send(client.socket, client.wait);
}

bool Report(std::vector<std::int64_t>& times, int output) {
  std::sort(times.begin(), times.end());
  const RoundTimes round{times.front(), times[times.size() / 2], times.back()};
  times.clear();
  return write(output, &round, sizeof(round)) == sizeof(round);
}

// Answers events with the next wait, as clients do, until the server closes.
void Serve(std::vector<Client>& clients, int epoll, int output) {
  std::vector<std::int64_t> times;
  epoll_event events[64];
  for (;;) {
    const int count = epoll_wait(epoll, events, 64, -1);
    for (int i = 0; i < count; ++i) {
      const Client& client = clients[events[i].data.u32];
      std::byte reply[256];
      if (recv(client.socket, reply, sizeof(reply), 0) <= 0) return;
      times.push_back(bench::Now());
      if (!bench::Send(client.socket, client.wait)) return;
    }
    if (times.size() == clients.size() && !Report(times, output)) return;
  }
}

}  // namespace

int RunLatencyClients(const char* socketPath, unsigned count, int output) {
  std::vector<Client> clients(count);
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  for (unsigned i = 0; i < count; ++i) {
    epoll_event event{EPOLLIN, {.u32 = i}};
    if (!Subscribe(socketPath, clients[i]) || epoll_ctl(epoll, EPOLL_CTL_ADD, clients[i].socket, &event) != 0) {
      std::fprintf(stderr, "client %u of %u: could not subscribe\n", i + 1, count);
      return 1;
    }
  }
  Serve(clients, epoll, output);
  for (const Client& client : clients) close(client.socket);
  close(epoll);
  return 0;
}
