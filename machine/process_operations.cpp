#include "machine/process_operations.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

// A plain account of its own: LocalService.
constexpr const char* kPlainLocalSid = "S-1-5-19";

void Run(const Request& request, ProcessTable& processes, UserStore& users, const Sessions& sessions) {
  ProcessRequest process;
  process.program = request.body.at("program").get<std::string>();
  process.arguments = request.body.value("arguments", std::vector<std::string>{});
  process.output = request.body.value("output", "");
  process.errorOutput = request.body.value("errorOutput", "");
  process.token = OutsideToken(sessions);
  const json identity = request.body.value("identity", json::object());
  if (identity.contains("user")) {
    std::string error;
    const auto sid = users.Ensure(identity.at("user").get<std::string>(), &error);
    if (!sid) return request.responder.Fail(ERROR_INVALID_NAME, error);
    process.token.userSid = *sid;
  }
  ReadToken(identity, &process.token);
  if (process.program.empty() || process.program.front() != '/')
    return request.responder.Fail(ERROR_INVALID_PARAMETER, "the program is given by its whole path");

  const auto pid = std::make_shared<pid_t>(0);
  ProcessTable::Observer observer;
  observer.entered = [pid](pid_t entered) { *pid = entered; };
  observer.started = [pid, responder = request.responder](DWORD error, const std::string& message) {
    if (error != ERROR_SUCCESS) return responder.Fail(error, message);
    responder.Reply(json{{"pid", *pid}});
  };
  observer.ended = [](const ProcessEnd&) {};
  processes.Launch(process, std::move(observer));
}

}  // namespace

Token OutsideToken(const Sessions& sessions) {
  Token token;
  token.userSid = kPlainLocalSid;
  const auto console = sessions.all().find(sessions.console());
  if (console == sessions.all().end() || console->second.user.empty()) return token;
  token.userSid = console->second.sid;
  token.session = sessions.console();
  return token;
}

void AddProcessOperations(OpRegistry& operations, ProcessTable& processes, UserStore& users, const Sessions& sessions) {
  operations.Add("process.run", [&](const Request& request) { Run(request, processes, users, sessions); });
  operations.Add("process.list", [&](const Request& request) {
    request.responder.Reply(json{{"processes", processes.Rows()}});
  });
  operations.Add("process.end", [&](const Request& request) {
    if (!processes.Terminate(request.body.at("pid").get<pid_t>()))
      return request.responder.Fail(ERROR_INVALID_PARAMETER, "the machine runs no such process");
    request.responder.Done();
  });
}

}  // namespace machine
