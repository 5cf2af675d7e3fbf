#include "platform/host/rpc/server_endpoint.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/unix_socket.h"

namespace host::rpc {

namespace {

constexpr std::size_t kMaxNameSize = 200;

std::string Folder() {
  return CurrentMachineDirectory().runtime + "/ncalrpc";
}

// Held while one process looks whether an endpoint is taken and takes it.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder) : file_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    held_ = file_ >= 0 && flock(file_, LOCK_EX) == 0;
  }
  ~FolderLock() {
    if (file_ >= 0) close(file_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool held() const { return held_; }

 private:
  int file_;
  bool held_ = false;
};

bool SomeoneListens(const std::string& path) {
  const int socket = ConnectUnixSocket(path);
  if (socket >= 0) close(socket);
  return socket >= 0;
}

}  // namespace

bool ValidEndpointName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameSize || name == "." || name == "..") return false;
  for (const unsigned char character : name) {
    if (character < ' ' || character == '/' || character == '\\') return false;
  }
  return true;
}

RPC_STATUS OpenEndpoint(const std::string& name, int backlog, int* socket) {
  const std::string folder = Folder();
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return RPC_S_CANT_CREATE_ENDPOINT;
  const FolderLock lock(folder);
  if (!lock.held()) return RPC_S_CANT_CREATE_ENDPOINT;
  const std::string path = folder + "/" + name;
  if (SomeoneListens(path)) return RPC_S_DUPLICATE_ENDPOINT;
  *socket = ListenUnixSocket(path, backlog);
  return *socket >= 0 ? RPC_S_OK : RPC_S_CANT_CREATE_ENDPOINT;
}

void CloseEndpoint(const ServerEndpoint& endpoint) {
  unlink((Folder() + "/" + endpoint.name).c_str());
  close(endpoint.socket);
}

}  // namespace host::rpc
