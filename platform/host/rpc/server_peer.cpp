#include "platform/host/rpc/server_peer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <sstream>
#include <string>

namespace host::rpc {

namespace {

// Missing in older headers; newer kernels answer it.
constexpr int kPeerPidFd = 77;
// The start time's place in /proc/<pid>/stat, counted from the state, which follows the program name.
constexpr int kFieldsBeforeStartTime = 19;

std::optional<std::uint64_t> StartTime(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  // The name may itself hold brackets and blanks.
  const auto nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string skipped;
  for (int i = 0; i < kFieldsBeforeStartTime; ++i) fields >> skipped;
  std::uint64_t startTime = 0;
  if (!(fields >> startTime)) return std::nullopt;
  return startTime;
}

// A descriptor of the peer process, or -1.
int OpenPeer(int socket, pid_t pid) {
  int descriptor = -1;
  socklen_t size = sizeof(descriptor);
  if (getsockopt(socket, SOL_SOCKET, kPeerPidFd, &descriptor, &size) == 0) return descriptor;
  return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

bool HasEnded(int process) {
  pollfd ended{process, POLLIN, 0};
  return poll(&ended, 1, 0) != 0;
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
  // opening it, and its being alive, say that all three mean the same process.
  const auto before = StartTime(credentials.pid);
  const int process = OpenPeer(socket, credentials.pid);
  if (process < 0) return std::nullopt;
  const auto after = StartTime(credentials.pid);
  const bool ended = HasEnded(process);
  close(process);
  if (ended || !before || before != after) return std::nullopt;
  return Peer{credentials.pid, credentials.uid, *after};
}

}  // namespace host::rpc
