#include "tools/run_identity.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/host/base/text.h"
#include "platform/host/security/capability_sids.h"
#include "platform/memory.h"
#include "platform/security.h"

namespace tool {
namespace {

using nlohmann::json;

bool SameName(const std::string& one, const std::string& other) {
  return host::CompareNoCase(host::ToUtf16(one), host::ToUtf16(other)) == 0;
}

// The first row that `fits`; null when none does.
template <typename Fits>
const json* Find(const json& rows, Fits fits) {
  const auto found = std::find_if(rows.begin(), rows.end(), fits);
  return found == rows.end() ? nullptr : &*found;
}

std::string SidText(PSID sid) {
  LPWSTR text = nullptr;
  if (!ConvertSidToStringSidW(sid, &text)) return "";
  std::string result = host::ToUtf8(text);
  LocalFree(text);
  return result;
}

void FreeSids(PSID* sids, DWORD count) {
  for (DWORD i = 0; i < count; ++i) LocalFree(sids[i]);
  LocalFree(sids);
}

std::string DerivedSid(const std::string& name) {
  PSID *groups = nullptr, *sids = nullptr;
  DWORD groupCount = 0, count = 0;
  if (!DeriveCapabilitySidsFromName(host::ToUtf16(name).c_str(), &groups, &groupCount, &sids, &count)) return "";
  const std::string text = count == 0 ? "" : SidText(sids[0]);
  FreeSids(groups, groupCount);
  FreeSids(sids, count);
  return text;
}

// The session first, since it says who the user is when none is named.
bool AddSession(const RunIdentity& identity, const json& sessions, json* members, std::string* error) {
  if (!identity.session) return true;
  const json* session =
      Find(sessions, [&](const json& row) { return row.at("id").get<std::uint32_t>() == *identity.session; });
  if (session == nullptr) {
    *error = "there is no session " + std::to_string(*identity.session);
    return false;
  }
  (*members)["session"] = *identity.session;
  if (const std::string sid = session->at("sid"); !sid.empty()) (*members)["userSid"] = sid;
  return true;
}

bool AddUser(const RunIdentity& identity, const json& users, const json& sessions, json* members, std::string* error) {
  if (identity.user.empty()) return true;
  const json* user = Find(users, [&](const json& row) { return SameName(row.at("user"), identity.user); });
  if (user == nullptr) {
    *error = "there is no user " + identity.user;
    return false;
  }
  (*members)["userSid"] = user->at("sid");
  const json* session = Find(sessions, [&](const json& row) { return row.at("sid") == user->at("sid"); });
  if (session != nullptr && !identity.session) (*members)["session"] = session->at("id");
  return true;
}

}  // namespace

std::string CapabilitySid(const std::string& name) {
  if (!name.starts_with("S-1-")) return DerivedSid(name);
  PSID sid = nullptr;
  if (!ConvertStringSidToSidW(host::ToUtf16(name).c_str(), &sid)) return "";
  LocalFree(sid);
  return name;
}

std::optional<json> IdentityMembers(const RunIdentity& identity, const json& users, const json& sessions,
                                    std::string* error) {
  json members = json::object();
  if (!AddSession(identity, sessions, &members, error)) return std::nullopt;
  if (!AddUser(identity, users, sessions, &members, error)) return std::nullopt;
  if (!identity.package.empty()) members["packageFamilyName"] = identity.package;
  if (identity.appContainer) members["appContainer"] = true;
  json capabilities = json::array();
  for (const std::string& name : identity.capabilities) capabilities.push_back(CapabilitySid(name));
  if (!capabilities.empty()) members["capabilities"] = capabilities;
  return members;
}

}  // namespace tool
