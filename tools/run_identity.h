// Who a program is to be, as the command line says it.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/options.h"

namespace tool {

struct RunIdentity {
  std::string user{};                      // empty: who is in the session, or at the console
  std::optional<std::uint32_t> session{};  // left out: where the user is logged on, or the console's
  std::string package{};                   // package family name; empty: not packaged
  bool appContainer = false;
  std::vector<std::string> capabilities{};  // names, or SIDs in text form
};

// The SID of a capability, "S-1-15-3-1024-...": `name` itself when it is a SID already, else by the derivation.
// Empty for a SID that cannot be read.
std::string CapabilitySid(const std::string& name);

// The members of "identity" for the machine. Accounts and sessions are the machine's own ("users" and "sessions" of
// ListUsers and ListSessions). Nothing, with a sentence in `error`, for a user or a session that is not there.
std::optional<nlohmann::json> IdentityMembers(const RunIdentity& identity, const nlohmann::json& users,
                                              const nlohmann::json& sessions, std::string* error);

}  // namespace tool
