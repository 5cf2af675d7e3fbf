// Accepts the processes of the machine at `<runtime>/control` and hands their requests to the operations.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "machine/connection.h"
#include "machine/loop.h"
#include "machine/op_registry.h"
#include "machine/unique_descriptor.h"

namespace machine {

// Loop thread only, except construction.
class ControlServer {
 public:
  ControlServer(Loop& loop, const OpRegistry& operations) : loop_(loop), operations_(operations) {}
  ~ControlServer();
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

  // False, with a sentence in `error`, when the socket cannot be made.
  bool Listen(const std::string& path, std::string* error);

  // Sends what is queued for each process, as far as it reads within `limit`.
  void FlushConnections(std::chrono::milliseconds limit);

  // Ends every connection but `survivor` (null: all), with what hangs on them.
  void CloseConnections(const Connection* survivor);

  const std::map<std::uint64_t, std::shared_ptr<Connection>>& connections() const { return connections_; }

 private:
  void AcceptWaiting();
  void Admit(int socket);
  void PauseAccepting();

  Loop& loop_;
  const OpRegistry& operations_;
  UniqueDescriptor listener_;
  Loop::TimerId resumeTimer_ = 0;
  std::uint64_t nextConnection_ = 1;
  std::map<std::uint64_t, std::shared_ptr<Connection>> connections_;
};

}  // namespace machine
