// Who a process of the machine is: what its token says, as independent facts.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace machine {

struct Token {
  std::string userSid;
  std::uint32_t session = 0;
  bool system = false;            // runs as LocalSystem
  std::string packageFamilyName;  // empty: not packaged
  bool appContainer = false;
  std::vector<std::string> capabilities;  // SIDs
};

inline constexpr const char* kLocalSystemSid = "S-1-5-18";

// LocalSystem in session 0, as services run.
Token SystemToken();

nlohmann::json ToJson(const Token& token);

// Reads the members that are there over `token`. Throws json's exception for a member of a wrong type.
void ReadToken(const nlohmann::json& value, Token* token);

}  // namespace machine
