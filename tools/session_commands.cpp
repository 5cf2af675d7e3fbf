// logon, logoff, connect, disconnect, winlogon, user: people and their sessions.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/session_control.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

int LogonAndTell(const Options& options, const LogonRequest& request) {
  std::uint32_t session = 0;
  if (int code = Logon(options, request, &session); code != kDone) return code;
  if (options.json)
    std::printf("%s\n", json{{"user", request.user}, {"session", session}}.dump().c_str());
  else
    std::printf("%s is logged on in session %u\n", request.user.c_str(), session);
  return kDone;
}

void ShowAccount(const Options& options, const json& account) {
  const auto user = account.at("user").get<std::string>();
  const auto sid = account.at("sid").get<std::string>();
  if (options.json)
    std::printf("%s\n", json{{"user", user}, {"sid", sid}}.dump().c_str());
  else
    std::printf("  %-20s %s\n", user.c_str(), sid.c_str());
}

int AddUserAndTell(const Options& options, const std::string& user) {
  json account;
  if (int code = AddUser(options, user, &account); code != kDone) return code;
  ShowAccount(options, account);
  return kDone;
}

int ShowUsers(const Options& options) {
  json accounts;
  if (int code = ListUsers(options, &accounts); code != kDone) return code;
  for (const json& account : accounts) ShowAccount(options, account);
  return kDone;
}

void AddLogon(CLI::App& app, Options& options) {
  CLI::App* logon = app.add_subcommand("logon", "log a user on: at the console, or where the options say");
  auto request = std::make_shared<LogonRequest>();
  logon->add_option("user", request->user, "the user's name; a new one is made")->required()->check(TextError);
  CLI::Option* remote = logon->add_flag("--remote", request->remote, "in a new session, from afar");
  logon->add_option("--session", request->session, "in this session, in which nobody is")
      ->check(WordError)
      ->excludes(remote);
  logon->callback(
      [&options, request] { options.action = [&options, request] { return LogonAndTell(options, *request); }; });
}

// A command that takes the number of a session.
CLI::App* AddOnSession(CLI::App& app, Options& options, const char* name, const char* help,
                       int (*act)(const Options&, std::uint32_t)) {
  CLI::App* command = app.add_subcommand(name, help);
  auto session = std::make_shared<std::uint32_t>(0);
  command->add_option("session", *session, "the session's number, as logon and status show it")
      ->required()
      ->check(WordError);
  command->callback(
      [&options, session, act] { options.action = [&options, session, act] { return act(options, *session); }; });
  return command;
}

void AddConnect(CLI::App& app, Options& options) {
  CLI::App* connect = app.add_subcommand("connect", "connect a disconnected session to the console");
  auto session = std::make_shared<std::uint32_t>(0);
  auto remote = std::make_shared<bool>(false);
  connect->add_option("session", *session, "the session's number")->required()->check(WordError);
  connect->add_flag("--remote", *remote, "from afar instead");
  connect->callback([&options, session, remote] {
    options.action = [&options, session, remote] { return ConnectSession(options, *session, *remote); };
  });
}

void AddUserCommands(CLI::App& app, Options& options) {
  CLI::App* user = app.add_subcommand("user", "the machine's accounts");
  user->require_subcommand(1);
  CLI::App* add = user->add_subcommand("add", "make an account without logging it on");
  auto name = std::make_shared<std::string>();
  add->add_option("name", *name, "the user's name")->required()->check(TextError);
  add->callback([&options, name] { options.action = [&options, name] { return AddUserAndTell(options, *name); }; });
  user->add_subcommand("list", "show the accounts with their SIDs")->callback([&options] {
    options.action = [&options] { return ShowUsers(options); };
  });
}

void AddWinlogon(CLI::App& app, Options& options) {
  CLI::App* winlogon = app.add_subcommand("winlogon", "change the process that a session has of its own");
  auto session = std::make_shared<std::uint32_t>(0);
  auto change = std::make_shared<SessionProcessChange>();
  winlogon->add_option("session", *session, "the session's number")->required()->check(WordError);
  CLI::Option_group* what = winlogon->add_option_group("change");
  what->require_option(1);
  what->add_flag_callback(
      "--missing", [change] { change->present = false; }, "it is not there");
  what->add_option("--name", change->name, "it has this name: another one, or the same in other letters")
      ->check(TextError);
  what->add_flag_callback(
      "--not-system", [change] { change->system = false; }, "it does not run as LocalSystem");
  what->add_flag_callback(
      "--restore",
      [change] {
        *change = {true, "winlogon.exe", true};
      },
      "as it is by itself");
  winlogon->callback([&options, session, change] {
    options.action = [&options, session, change] { return ChangeSessionProcess(options, *session, *change); };
  });
}

}  // namespace

void AddSessionCommands(CLI::App& app, Options& options) {
  AddUserCommands(app, options);
  AddLogon(app, options);
  AddOnSession(app, options, "logoff", "log a session off", Logoff);
  AddConnect(app, options);
  AddOnSession(app, options, "disconnect", "disconnect a session: its user stays logged on", DisconnectSession);
  AddWinlogon(app, options);
}

}  // namespace tool
