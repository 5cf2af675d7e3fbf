// The connection of this process to the daemon of its machine: a unix stream socket `<runtime>/control`.
//
// Both ways: a 4-byte little-endian length, then one JSON object. The process sends {"id":N,"op":"...",...}; the
// daemon answers {"id":N,...} with "error" (a Win32 code) and "message" where it failed. The daemon may send a
// message of its own: {"event":"..."}, which is handed to the listener registered for that event. Everything a process
// holds in the daemon (named events, endpoint registrations, its service) hangs on this connection and goes with it.
//
// Thread safe. One reader thread per link, started with the first use.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/host/base/types.h"

namespace host {

class MachineLink {
 public:
  // The link of this process to its machine (CurrentMachineDirectory), connected on first use.
  static MachineLink& Instance();

  // Closes the link of this process, as its end would; the next Instance().Call connects anew. For tests.
  static void Reset();

  MachineLink();
  ~MachineLink();
  MachineLink(const MachineLink&) = delete;
  MachineLink& operator=(const MachineLink&) = delete;

  // Sends `request` (its "id" is filled in) and waits for the answer. Returns 0 and the answer in `reply`, or the
  // answer's "error"; ERROR_SERVICE_NOT_ACTIVE (1062) when the machine is not up or went away. `reply` may be null.
  DWORD Call(nlohmann::json request, nlohmann::json* reply);

  // Sends without waiting for an answer.
  DWORD Post(nlohmann::json message);

  // The same over the connection there is, for a listener; ERROR_SERVICE_NOT_ACTIVE (1062) when it has ended.
  DWORD Answer(const nlohmann::json& message);

  // Hands every unsolicited message named `event` to `listener`, on the reader thread; it calls nothing of the link
  // but Answer.
  // The link's own event "link.closed" tells that the connection ended, with everything that hung on it. An empty
  // function removes the listener and returns only when no call of it is running.
  void Listen(const std::string& event, std::function<void(const nlohmann::json&)> listener);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
