#include "machine/token.h"

#include <nlohmann/json.hpp>

namespace machine {

using nlohmann::json;

Token SystemToken() {
  Token token;
  token.userSid = kLocalSystemSid;
  token.system = true;
  return token;
}

json ToJson(const Token& token) {
  return json{{"userSid", token.userSid},
              {"session", token.session},
              {"system", token.system},
              {"packageFamilyName", token.packageFamilyName},
              {"appContainer", token.appContainer},
              {"capabilities", token.capabilities}};
}

void ReadToken(const json& value, Token* token) {
  token->userSid = value.value("userSid", token->userSid);
  token->session = value.value("session", token->session);
  token->system = value.value("system", token->system);
  token->packageFamilyName = value.value("packageFamilyName", token->packageFamilyName);
  token->appContainer = value.value("appContainer", token->appContainer);
  token->capabilities = value.value("capabilities", token->capabilities);
}

}  // namespace machine
