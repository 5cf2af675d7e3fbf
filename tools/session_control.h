// People at the machine: accounts, logons, connections of sessions. Each answers an exit code, having reported a
// failure.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "tools/options.h"

namespace tool {

struct LogonRequest {
  std::string user;                      // a new one is made
  std::optional<std::uint32_t> session;  // an existing session with nobody in it; left out: the console, or a new one
  bool remote = false;                   // a new remote session
};

// Logs the user on; `session` (may be null) gets the number of the session.
int Logon(const Options& options, const LogonRequest& request, std::uint32_t* session);

int Logoff(const Options& options, std::uint32_t session);

// Connects a disconnected session: to the console (who is there is disconnected first), or from afar.
int ConnectSession(const Options& options, std::uint32_t session, bool remote);

int DisconnectSession(const Options& options, std::uint32_t session);

// Changes a session's own process, "winlogon.exe" of LocalSystem, in what is set.
struct SessionProcessChange {
  std::optional<bool> present;
  std::optional<std::string> name;
  std::optional<bool> system;  // false: it runs as a plain local account
};
int ChangeSessionProcess(const Options& options, std::uint32_t session, const SessionProcessChange& change);

// Makes an account without a logon, or finds it; `account` gets {"user","sid"}.
int AddUser(const Options& options, const std::string& user, nlohmann::json* account);

// What the machine knows: {"sessions":[{"id","state","remote","user","sid"}],"console"} and an array of accounts.
int ListSessions(const Options& options, nlohmann::json* sessions);
int ListUsers(const Options& options, nlohmann::json* accounts);

}  // namespace tool
