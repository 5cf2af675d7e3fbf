#include "machine/user_store.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <utility>

#include "machine/json_file.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::uint32_t kFirstRelativeId = 1001;
constexpr std::size_t kMaxUserNameLength = 20;

std::string NewMachineSid() {
  std::random_device random;
  std::string sid = "S-1-5-21";
  for (int part = 0; part < 3; ++part) sid += "-" + std::to_string(std::uint32_t{random()});
  return sid;
}

bool IsUserName(const std::string& name) {
  const bool printable = std::none_of(name.begin(), name.end(), [](unsigned char unit) { return unit < ' '; });
  return printable && !name.empty() && name.size() <= kMaxUserNameLength &&
         name.find_first_of("/\\[]:;|=,+*?<>\"") == std::string::npos;
}

}  // namespace

bool UserStore::Load(std::string* error) {
  json file;
  const JsonFileResult result = ReadJsonFile(path_, &file, error);
  if (result == JsonFileResult::kUnreadable) return false;
  if (result == JsonFileResult::kMissing) {
    machineSid_ = NewMachineSid();
    return Save(accounts_, error);
  }
  try {
    machineSid_ = file.at("machineSid").get<std::string>();
    for (const auto& [name, id] : file.at("users").items()) accounts_[name] = id.get<std::uint32_t>();
  } catch (const json::exception& wrong) {
    *error = path_ + ": " + wrong.what();
    return false;
  }
  return true;
}

std::optional<std::string> UserStore::Ensure(const std::string& name, std::string* error) {
  if (!IsUserName(name)) {
    *error = "'" + name + "' cannot be a user's name";
    return std::nullopt;
  }
  if (const auto found = accounts_.find(name); found != accounts_.end()) return SidOf(found->second);
  std::uint32_t relativeId = kFirstRelativeId;
  for (const auto& [known, id] : accounts_) relativeId = std::max(relativeId, id + 1);
  Accounts changed = accounts_;
  changed[name] = relativeId;
  if (!Save(changed, error)) return std::nullopt;
  accounts_ = std::move(changed);
  return SidOf(relativeId);
}

std::string UserStore::Spelling(const std::string& name) const {
  const auto found = accounts_.find(name);
  return found != accounts_.end() ? found->first : name;
}

std::optional<std::string> UserStore::Find(const std::string& name) const {
  const auto found = accounts_.find(name);
  return found != accounts_.end() ? std::optional(SidOf(found->second)) : std::nullopt;
}

std::string UserStore::NameOf(const std::string& sid) const {
  const auto found = std::find_if(accounts_.begin(), accounts_.end(),
                                  [&](const auto& account) { return SidOf(account.second) == sid; });
  return found != accounts_.end() ? found->first : sid;
}

json UserStore::Report() const {
  json report = json::array();
  for (const auto& [name, id] : accounts_) report.push_back(json{{"user", name}, {"sid", SidOf(id)}});
  return report;
}

std::string UserStore::SidOf(std::uint32_t relativeId) const {
  return machineSid_ + "-" + std::to_string(relativeId);
}

bool UserStore::Save(const Accounts& accounts, std::string* error) const {
  json users = json::object();
  for (const auto& [name, id] : accounts) users[name] = id;
  return WriteJsonFile(path_, json{{"machineSid", machineSid_}, {"users", users}}, true, error);
}

}  // namespace machine
