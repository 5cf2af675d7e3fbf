// A server that is measured: this program once more, as a process of its own, in one of the roles of server_roles.h.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "bench/event_control.h"

namespace bench {

class ServerProcess {
 public:
  // Starts it and waits until it serves; ends the program when it does not. `role` is the first argument.
  explicit ServerProcess(const char* role);
  // Kills it.
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  // One of the orders of server_roles.h, whose answer is left to AwaitAnswer. Both end the program when the server has
  // gone, or answers that it could not.
  void Order(char order) const;
  void AwaitAnswer() const;

  // Waits until the server holds no connection and no context handle.
  void AwaitIdle() const;

  // What it shares with its clients.
  EventControl& Control() const { return control_; }

  // Its resident size.
  std::size_t ResidentBytes() const;

 private:
  bool Answers() const;

  const char* const role_;
  EventControl& control_;
  pid_t process_ = -1;
  int orders_ = -1;   // its standard input
  int answers_ = -1;  // its standard output
};

}  // namespace bench
