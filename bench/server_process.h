// A server that is measured: this program once more, as a process of its own, in one of the roles of server_roles.h.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace bench {

class ServerProcess {
 public:
  // Starts it and waits until it serves; ends the program when it does not. `role` is the first argument.
  explicit ServerProcess(const char* role);
  // Kills it.
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  // Waits until the RPC server holds no connection and no context handle; false when that does not come.
  bool AwaitIdle();

  // Its resident size.
  std::size_t ResidentBytes() const;

 private:
  bool AwaitAnswer();

  pid_t process_ = -1;
  int orders_ = -1;   // its standard input
  int answers_ = -1;  // its standard output
};

}  // namespace bench
