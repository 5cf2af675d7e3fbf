#include "bench/raw_calls.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/host/link/unix_socket.h"

namespace bench {

namespace {

constexpr std::size_t kRequestSize = 64;
constexpr std::size_t kReplySize = 32;
constexpr int kCallEventsAtOnce = 64;
constexpr int kBacklog = 4096;

bool Watch(int epoll, int socket) {
  epoll_event event{EPOLLIN, {.fd = socket}};
  return epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event) == 0;
}

// False when the client has gone.
bool AnswerOne(int socket) {
  std::byte request[kRequestSize];
  if (recv(socket, request, sizeof(request), 0) != static_cast<ssize_t>(sizeof(request))) return false;
  const std::byte reply[kReplySize]{};
  return send(socket, reply, sizeof(reply), MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof(reply));
}

}  // namespace

int ListenForRawClients(const std::string& socketPath) {
  return host::ListenUnixSocket(socketPath, kBacklog);
}

int ServeRawCalls(int listener) {
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  if (epoll < 0 || !Watch(epoll, listener)) return 1;
  for (;;) {
    epoll_event events[kCallEventsAtOnce];
    const int count = epoll_wait(epoll, events, kCallEventsAtOnce, -1);
    for (int i = 0; i < count; ++i) {
      const int socket = events[i].data.fd;
      if (socket == listener) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (client >= 0 && !Watch(epoll, client)) return 1;
      } else if (!AnswerOne(socket)) {
        close(socket);
      }
    }
  }
}

CallingClient ConnectRawClient(const std::string& socketPath) {
  return {host::ConnectUnixSocket(socketPath), Bytes(kRequestSize), Bytes(kReplySize)};
}

}  // namespace bench
