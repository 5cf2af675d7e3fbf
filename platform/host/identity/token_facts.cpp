#include "platform/host/identity/token_facts.h"

#include <nlohmann/json.hpp>

namespace host {

using nlohmann::json;

TokenFacts SystemToken() {
  TokenFacts token;
  token.userSid = kLocalSystemSid;
  token.isSystem = true;
  return token;
}

Identity IdentityOf(const TokenFacts& token) {
  return {token.userSid, token.isSystem, token.appContainer, token.capabilities};
}

bool MayOpen(const TokenFacts& asker, const TokenFacts& owner) {
  return asker.isSystem || asker.userSid == owner.userSid;
}

json ToJson(const TokenFacts& token) {
  return json{{"userSid", token.userSid},           {"session", token.session},
              {"system", token.isSystem},           {"packageFamilyName", token.packageFamilyName},
              {"appContainer", token.appContainer}, {"capabilities", token.capabilities}};
}

void ReadToken(const json& value, TokenFacts* token) {
  token->userSid = value.value("userSid", token->userSid);
  token->session = value.value("session", token->session);
  token->isSystem = value.value("system", token->isSystem);
  token->packageFamilyName = value.value("packageFamilyName", token->packageFamilyName);
  token->appContainer = value.value("appContainer", token->appContainer);
  token->capabilities = value.value("capabilities", token->capabilities);
}

}  // namespace host
