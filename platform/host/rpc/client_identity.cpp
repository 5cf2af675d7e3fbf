#include "platform/host/rpc/client_identity.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

#include "platform/host/link/unix_socket.h"

namespace host::rpc {

namespace {

thread_local std::shared_ptr<const TokenFacts> currentIdentity;

struct Table {
  std::mutex mutex;
  std::map<std::string, std::shared_ptr<const TokenFacts>> byName;  // guarded by mutex
};

Table& TheTable() {
  static auto* table = new Table;  // outlives every thread of the process
  return *table;
}

// The name of one end of a connection, empty for an end without one.
std::string NameOf(int socket, int (*ask)(int, sockaddr*, socklen_t*)) {
  sockaddr_un address = {};
  socklen_t size = sizeof(address);
  if (ask(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 || size <= sizeof(address.sun_family)) return "";
  return std::string(address.sun_path, size - sizeof(address.sun_family));
}

// Has the kernel make up a name for the socket. Empty when it does not.
std::string BindToNewName(int socket) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address.sun_family)) != 0) return "";
  return NameOf(socket, &getsockname);
}

std::shared_ptr<const TokenFacts> Take(const std::string& name) {
  const std::lock_guard lock(TheTable().mutex);
  const auto node = TheTable().byName.extract(name);
  return node ? node.mapped() : nullptr;
}

}  // namespace

ClientIdentityScope::ClientIdentityScope(TokenFacts facts)
    : outer_(std::exchange(currentIdentity, std::make_shared<const TokenFacts>(std::move(facts)))) {}

ClientIdentityScope::~ClientIdentityScope() {
  currentIdentity = outer_;
}

std::shared_ptr<const TokenFacts> ClientIdentityScope::Current() {
  return currentIdentity;
}

int ConnectAs(const std::shared_ptr<const TokenFacts>& facts, const std::string& path) {
  if (facts == nullptr) return ConnectUnixSocket(path);
  std::string name;
  const int connected = ConnectUnixSocket(path, [&](int socket) {
    name = BindToNewName(socket);
    const std::lock_guard lock(TheTable().mutex);
    return !name.empty() && TheTable().byName.emplace(name, facts).second;
  });
  const int saved = errno;
  if (connected < 0) Take(name);
  errno = saved;
  return connected;
}

std::shared_ptr<const TokenFacts> TakeClientIdentity(int socket) {
  const std::string name = NameOf(socket, &getpeername);
  return name.empty() ? nullptr : Take(name);
}

}  // namespace host::rpc
