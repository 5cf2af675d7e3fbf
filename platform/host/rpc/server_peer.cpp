#include "platform/host/rpc/server_peer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/host/base/process_stat.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/rpc/client_identity.h"

namespace host::rpc {

namespace {

// Missing in older headers; newer kernels answer it.
constexpr int kPeerPidFd = 77;

// A descriptor of the peer process, or -1.
int OpenPeer(int socket, pid_t pid) {
  int descriptor = -1;
  socklen_t size = sizeof(descriptor);
  if (getsockopt(socket, SOL_SOCKET, kPeerPidFd, &descriptor, &size) == 0) return descriptor;
  // A kernel that knows the option and has no descriptor to give knows that the process is gone.
  if (errno != ENOPROTOOPT) return -1;
  return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

bool HasEnded(int process) {
  pollfd ended{process, POLLIN, 0};
  return poll(&ended, 1, 0) != 0;
}

// The token of the process, or of the client that a test has within this very one. Null when the process has ended.
std::shared_ptr<const TokenFacts> TokenOfPeer(int socket, pid_t pid) {
  if (pid == getpid()) {
    if (auto told = TakeClientIdentity(socket)) return told;
  }
  const auto token = TokenOfProcess(pid);
  return token ? std::make_shared<const TokenFacts>(*token) : nullptr;
}

// The connection, the peer's process and one file about it.
constexpr int kDescriptorsForOneClient = 3;

}  // namespace

bool CanLookUpPeer(int descriptor) {
  std::array<int, kDescriptorsForOneClient> spare{};
  for (int& each : spare) each = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  for (const int each : spare) {
    if (each >= 0) close(each);
  }
  return spare.back() >= 0;
}

std::optional<Peer> LookUpPeer(int socket) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || credentials.pid <= 0)
    return std::nullopt;

  // Without the peer's own descriptor the number may be a later process's by now: then the time before and after
  // opening it, and its being alive at the end, say that all of them mean the same process.
  const std::uint64_t before = ProcessStartTime(credentials.pid);
  const int process = OpenPeer(socket, credentials.pid);
  if (process < 0) return std::nullopt;
  const std::uint64_t after = ProcessStartTime(credentials.pid);
  auto token = TokenOfPeer(socket, credentials.pid);
  const bool ended = HasEnded(process);
  close(process);
  if (ended || token == nullptr || before == 0 || before != after) return std::nullopt;
  return Peer{.pid = credentials.pid, .user = credentials.uid, .startTime = after, .token = std::move(token)};
}

}  // namespace host::rpc
