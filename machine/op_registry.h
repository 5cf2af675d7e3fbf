// The operations of the control socket, by name. Loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/host/base/types.h"

namespace machine {

class Connection;

// Answers one request, now or later. Copies answer the same request; only the first answer is sent.
// Nothing happens when the caller has gone meanwhile.
class Responder {
 public:
  Responder(const std::shared_ptr<Connection>& connection, std::uint64_t requestId);

  // Sends the members of `body` (an object) as the answer.
  void Reply(nlohmann::json body) const;
  // Sends an empty answer.
  void Done() const;
  // Sends the failure: a Win32 code other than 0, and a sentence for people.
  void Fail(DWORD error, const std::string& message) const;
  // Whether there is still someone to hear the answer.
  bool IsAwaited() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

struct Request {
  const std::shared_ptr<Connection>& connection;
  const nlohmann::json& body;  // an object; valid during the call only
  Responder responder;
};

class OpRegistry {
 public:
  // A member missing or of another type than the handler asks for is answered with 87 by the caller of the handler,
  // so handlers read the body with json's own checked accessors, before they change anything.
  using Handler = std::function<void(const Request&)>;

  void Add(const std::string& op, Handler handler) { handlers_[op] = std::move(handler); }

  // Parses `payload` and runs its handler. False when it is no message at all: the connection is not worth keeping.
  bool Dispatch(const std::shared_ptr<Connection>& connection, const std::string& payload) const;

 private:
  std::map<std::string, Handler> handlers_;
};

}  // namespace machine
