// Who somebody is on the machine: what a token says, as independent facts.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "platform/host/security/sddl.h"

namespace host {

inline constexpr const char* kLocalSystemSid = "S-1-5-18";
inline constexpr const char* kLocalServiceSid = "S-1-5-19";

struct TokenFacts {
  std::string userSid;
  std::uint32_t session = 0;
  bool isSystem = false;          // runs as LocalSystem
  std::string packageFamilyName;  // UTF-8; empty: not packaged
  bool appContainer = false;
  std::vector<std::string> capabilities;  // SIDs in text form

  bool operator==(const TokenFacts&) const = default;
};

// LocalSystem in session 0, as services run.
TokenFacts SystemToken();

// As security descriptors are checked against it.
Identity IdentityOf(const TokenFacts& token);

// Whether `asker` may open processes and tokens of `owner`: LocalSystem everyone's, others those of their own user.
bool MayOpen(const TokenFacts& asker, const TokenFacts& owner);

// The members "userSid", "session", "system", "packageFamilyName", "appContainer", "capabilities".
nlohmann::json ToJson(const TokenFacts& token);

// Reads the members that are there over `token`. Throws json's exception for a member of a wrong type.
void ReadToken(const nlohmann::json& value, TokenFacts* token);

}  // namespace host
