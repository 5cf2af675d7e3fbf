#include "machine/process_operations.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "machine/command_line.h"
#include "machine/connection.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"

namespace machine {

using nlohmann::json;

namespace {

// Answers with a refusal and false when the request cannot be met.
bool ReadIdentity(const Request& request, UserStore& users, Token* token) {
  const json identity = request.body.value("identity", json::object());
  if (identity.contains("user")) {
    std::string error;
    const auto sid = users.Ensure(identity.at("user").get<std::string>(), &error);
    if (!sid) {
      request.responder.Fail(ERROR_INVALID_NAME, error);
      return false;
    }
    token->userSid = *sid;
  }
  ReadToken(identity, token);
  return true;
}

void ReadArguments(const json& body, ProcessRequest* process) {
  process->commandLine = body.value("commandLine", "");
  if (process->commandLine.empty()) {
    process->arguments = body.value("arguments", std::vector<std::string>{});
    return;
  }
  process->arguments = SplitCommandLine(process->commandLine);
  process->calledAs = process->arguments.front();
  process->arguments.erase(process->arguments.begin());
}

ProcessRequest ReadProcess(const Request& request) {
  const json& body = request.body;
  ProcessRequest process;
  process.program = body.at("program").get<std::string>();
  ReadArguments(body, &process);
  if (body.contains("environment")) process.environment = body.at("environment").get<std::vector<std::string>>();
  process.directory = body.value("directory", "");
  process.belowNormal = body.value("belowNormal", false);
  process.output = body.value("output", "");
  process.errorOutput = body.value("errorOutput", "");
  process.requester = request.connection->peer().pid;
  return process;
}

bool IsDirectory(const std::string& path) {
  std::error_code ignored;
  return path.front() == '/' && std::filesystem::is_directory(path, ignored);
}

void Run(const Request& request, ProcessTable& processes, UserStore& users, const Sessions& sessions) {
  ProcessRequest process = ReadProcess(request);
  process.token = OutsideToken(sessions);
  if (!ReadIdentity(request, users, &process.token)) return;
  if (process.program.empty() || process.program.front() != '/')
    return request.responder.Fail(ERROR_INVALID_PARAMETER, "the program is given by its whole path");
  if (!process.directory.empty() && !IsDirectory(process.directory))
    return request.responder.Fail(ERROR_DIRECTORY, process.directory + " is no directory");

  struct Started {
    pid_t pid = 0;
    std::uint64_t startTime = 0;
    std::uint64_t number = 0;
  };
  const auto program = std::make_shared<Started>();
  ProcessTable::Observer observer;
  observer.entered = [program](pid_t pid) {
    program->pid = pid;
    program->startTime = host::ProcessStartTime(pid);
  };
  observer.started = [program, responder = request.responder](DWORD error, const std::string& message) {
    if (error != ERROR_SUCCESS) return responder.Fail(error, message);
    responder.Reply(json{{"pid", program->pid}, {"number", program->number}, {"startTime", program->startTime}});
  };
  observer.ended = [](const ProcessEnd&) {};
  program->number = processes.Launch(process, std::move(observer));
}

// The number of the program that a request names; none, with a refusal, when it is not known.
std::optional<std::uint64_t> Named(const Request& request, const ProcessHistory& history) {
  if (request.body.contains("number")) return request.body.at("number").get<std::uint64_t>();
  return history.Find(request.body.at("pid").get<pid_t>(), request.body.value("startTime", std::uint64_t{0}));
}

void Wait(const Request& request, ProcessHistory& history) {
  const auto number = Named(request, history);
  const auto answer = [responder = request.responder](const ProcessHistory::Program& program) {
    json reply = {{"pid", program.pid}, {"exitCode", ExitCode(*program.end)}};
    if (program.end->signalled) reply["signal"] = program.end->value;
    responder.Reply(std::move(reply));
  };
  const auto isThere = [responder = request.responder] { return responder.IsAwaited(); };
  if (!number || !history.OnEnd(*number, {answer, isThere}))
    request.responder.Fail(ERROR_INVALID_PARAMETER, "the machine knows no such program");
}

}  // namespace

Token OutsideToken(const Sessions& sessions) {
  Token token;
  token.userSid = host::kLocalServiceSid;
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
  operations.Add("process.wait", [&](const Request& request) { Wait(request, processes.history()); });
  operations.Add("process.history", [&](const Request& request) {
    request.responder.Reply(json{{"programs", processes.history().Report()}});
  });
  operations.Add("process.end", [&](const Request& request) {
    if (!processes.Terminate(request.body.at("pid").get<pid_t>()))
      return request.responder.Fail(ERROR_INVALID_PARAMETER, "the machine runs no such process");
    request.responder.Done();
  });
}

}  // namespace machine
