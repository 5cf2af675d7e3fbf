// logon, logoff.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/session_control.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kPatience{60};

int LogonAndTell(const Options& options, const LogonRequest& request) {
  std::uint32_t session = 0;
  if (int code = Logon(options, request, &session); code != kDone) return code;
  if (options.json)
    std::printf("%s\n", json{{"user", request.user}, {"session", session}}.dump().c_str());
  else
    std::printf("%s is logged on in session %u\n", request.user.c_str(), session);
  return kDone;
}

}  // namespace

int Logon(const Options& options, const LogonRequest& request, std::uint32_t* session) {
  const MachineRequest call{"log " + request.user + " on", "the machine", "hkd04a7ctl status", kPatience};
  json reply;
  const int code = CallMachine(options, call, json{{"op", "session.logon"}, {"user", request.user}}, &reply);
  if (code == kDone && session != nullptr) *session = reply.at("session").get<std::uint32_t>();
  return code;
}

int Logoff(const Options& options, std::uint32_t session) {
  const MachineRequest call{"log session " + std::to_string(session) + " off", "the machine",
                            "hkd04a7ctl status shows the sessions", kPatience};
  return CallMachine(options, call, json{{"op", "session.logoff"}, {"session", session}}, nullptr);
}

void AddSessionCommands(CLI::App& app, Options& options) {
  CLI::App* logon = app.add_subcommand("logon", "log a user on at the console");
  auto request = std::make_shared<LogonRequest>();
  logon->add_option("user", request->user, "the user's name; a new one is made")->required();
  logon->callback(
      [&options, request] { options.action = [&options, request] { return LogonAndTell(options, *request); }; });
  CLI::App* logoff = app.add_subcommand("logoff", "log a session off");
  auto session = std::make_shared<std::uint32_t>(0);
  logoff->add_option("session", *session, "the session's number, as logon and status show it")
      ->required()
      ->check(WordError);
  logoff->callback([&options, session] { options.action = [&options, session] { return Logoff(options, *session); }; });
}

}  // namespace tool
