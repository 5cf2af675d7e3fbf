#include "platform/host/link/unix_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace host {

namespace {

// An address for `path`; holds the folder open while the address goes through it.
class SocketAddress {
 public:
  explicit SocketAddress(const std::string& path) {
    address_.sun_family = AF_UNIX;
    if (path.size() < sizeof(address_.sun_path)) {
      Set(path);
      return;
    }
    const std::size_t slash = path.rfind('/');
    folder_ = open(path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder_ >= 0) Set("/proc/self/fd/" + std::to_string(folder_) + path.substr(slash));
  }
  ~SocketAddress() {
    const int saved = errno;
    if (folder_ >= 0) close(folder_);
    errno = saved;
  }
  SocketAddress(const SocketAddress&) = delete;
  SocketAddress& operator=(const SocketAddress&) = delete;

  bool valid() const { return valid_; }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  static socklen_t size() { return sizeof(sockaddr_un); }

 private:
  void Set(const std::string& path) {
    valid_ = path.size() < sizeof(address_.sun_path);
    if (valid_) std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
    if (!valid_) errno = ENAMETOOLONG;
  }

  sockaddr_un address_ = {};
  int folder_ = -1;
  bool valid_ = false;
};

int CloseAndFail(int descriptor) {
  const int saved = errno;
  close(descriptor);
  errno = saved;
  return -1;
}

}  // namespace

int ConnectUnixSocket(const std::string& path, const std::function<bool(int)>& prepare) {
  const SocketAddress address(path);
  if (!address.valid()) return -1;
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  if (prepare && !prepare(descriptor)) return CloseAndFail(descriptor);
  if (connect(descriptor, address.get(), SocketAddress::size()) != 0) return CloseAndFail(descriptor);
  return descriptor;
}

int ListenUnixSocket(const std::string& path, int backlog) {
  const SocketAddress address(path);
  if (!address.valid()) return -1;
  if (unlink(path.c_str()) != 0 && errno != ENOENT) return -1;
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return -1;
  if (bind(descriptor, address.get(), SocketAddress::size()) != 0) return CloseAndFail(descriptor);
  if (listen(descriptor, backlog) != 0) return CloseAndFail(descriptor);
  return descriptor;
}

}  // namespace host
