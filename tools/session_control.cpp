#include "tools/session_control.h"

#include <nlohmann/json.hpp>

#include "tools/exit_codes.h"
#include "tools/machine_call.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kSessionPatience{60};

MachineRequest ToDo(std::string tried) {
  return {std::move(tried), "the machine", "hkd04a7ctl status shows the sessions", kSessionPatience};
}

int ActOnSession(const Options& options, const std::string& tried, const char* op, std::uint32_t session, bool remote) {
  return CallMachine(options, ToDo(tried), json{{"op", op}, {"session", session}, {"remote", remote}}, nullptr);
}

}  // namespace

int Logon(const Options& options, const LogonRequest& request, std::uint32_t* session) {
  json message = {{"op", "session.logon"}, {"user", request.user}, {"remote", request.remote}};
  if (request.session) message["session"] = *request.session;
  json reply;
  const int code = CallMachine(options, ToDo("log " + request.user + " on"), message, &reply);
  if (code == kDone && session != nullptr) *session = reply.at("session").get<std::uint32_t>();
  return code;
}

int Logoff(const Options& options, std::uint32_t session) {
  return ActOnSession(options, "log session " + std::to_string(session) + " off", "session.logoff", session, false);
}

int ConnectSession(const Options& options, std::uint32_t session, bool remote) {
  return ActOnSession(options, "connect session " + std::to_string(session), "session.connect", session, remote);
}

int DisconnectSession(const Options& options, std::uint32_t session) {
  return ActOnSession(options, "disconnect session " + std::to_string(session), "session.disconnect", session, false);
}

int ChangeSessionProcess(const Options& options, std::uint32_t session, const SessionProcessChange& change) {
  json message = {{"op", "session.winlogon"}, {"session", session}};
  if (change.present) message["present"] = *change.present;
  if (change.name) message["name"] = *change.name;
  if (change.system) message["system"] = *change.system;
  return CallMachine(options, ToDo("change the process of session " + std::to_string(session)), message, nullptr);
}

int AddUser(const Options& options, const std::string& user, json* account) {
  return CallMachine(options, ToDo("add the user " + user), json{{"op", "user.add"}, {"user", user}}, account);
}

int ListSessions(const Options& options, json* sessions) {
  return CallMachine(options, ToDo("ask for the sessions"), json{{"op", "session.list"}}, sessions);
}

int ListUsers(const Options& options, json* accounts) {
  json reply;
  const int code = CallMachine(options, ToDo("ask for the users"), json{{"op", "user.list"}}, &reply);
  if (code == kDone) *accounts = reply.at("users");
  return code;
}

}  // namespace tool
