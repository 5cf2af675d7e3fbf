#include "tools/identity_text.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

namespace tool {
namespace {

using nlohmann::json;

std::string UserText(const json& token, const json& users) {
  const std::string sid = token.value("userSid", "");
  if (token.value("system", false)) return "LocalSystem";
  for (const json& user : users)
    if (user.value("sid", "") == sid) return user.value("user", "");
  return sid;
}

}  // namespace

std::string IdentityText(const json& token, const json& users) {
  std::string text = UserText(token, users) + ", session " + std::to_string(token.value("session", std::uint32_t{0}));
  if (const std::string package = token.value("packageFamilyName", ""); !package.empty())
    text += ", package " + package;
  if (token.value("appContainer", false)) text += ", app container";
  for (const std::string& sid : token.value("capabilities", std::vector<std::string>())) text += ", capability " + sid;
  return text;
}

}  // namespace tool
