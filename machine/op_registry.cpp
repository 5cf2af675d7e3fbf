#include "machine/op_registry.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/connection.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

struct Responder::State {
  std::weak_ptr<Connection> connection;
  std::uint64_t requestId = 0;  // 0: the caller wants no answer
  bool answered = false;
};

Responder::Responder(const std::shared_ptr<Connection>& connection, std::uint64_t requestId)
    : state_(std::make_shared<State>(State{connection, requestId, false})) {}

void Responder::Reply(json body) const {
  if (std::exchange(state_->answered, true) || state_->requestId == 0) return;
  const auto connection = state_->connection.lock();
  if (connection == nullptr) return;
  body["id"] = state_->requestId;
  connection->Send(body);
}

void Responder::Done() const {
  Reply(json::object());
}

void Responder::Fail(DWORD error, const std::string& message) const {
  Reply(json{{"error", error}, {"message", message}});
}

bool Responder::IsAwaited() const {
  const auto connection = state_->connection.lock();
  return connection != nullptr && connection->open() && !state_->answered && state_->requestId != 0;
}

bool OpRegistry::Dispatch(const std::shared_ptr<Connection>& connection, const std::string& payload) const {
  const json body = json::parse(payload, nullptr, false);
  if (!body.is_object()) return false;
  const auto id = body.find("id");
  const auto op = body.find("op");
  if (op == body.end() || !op->is_string() || (id != body.end() && !id->is_number_unsigned())) return false;
  const Responder responder(connection, id != body.end() ? id->get<std::uint64_t>() : 0);
  const auto handler = handlers_.find(op->get<std::string>());
  if (handler == handlers_.end()) {
    responder.Fail(ERROR_INVALID_FUNCTION, "the machine knows no operation '" + op->get<std::string>() + "'");
    return true;
  }
  try {
    handler->second(Request{connection, body, responder});
  } catch (const json::exception& wrong) {
    responder.Fail(ERROR_INVALID_PARAMETER, handler->first + ": " + wrong.what());
  }
  return true;
}

}  // namespace machine
