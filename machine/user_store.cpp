#include "machine/user_store.h"

#include <cctype>
#include <nlohmann/json.hpp>
#include <random>
#include <utility>

#include "machine/json_file.h"
#include "platform/host/base/text.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::uint32_t kFirstRelativeId = 1001;
constexpr std::size_t kMaxNameLength = 20;

std::string NewMachineSid() {
  std::random_device random;
  std::string sid = "S-1-5-21";
  for (int part = 0; part < 3; ++part) sid += "-" + std::to_string(std::uint32_t{random()});
  return sid;
}

bool IsUserName(const std::string& name) {
  return !name.empty() && name.size() <= kMaxNameLength && name.find_first_of("/\\[]:;|=,+*?<>\"") == std::string::npos;
}

// The key under which spellings of one name meet.
std::u16string Fold(const std::string& name) {
  std::u16string folded = host::ToUtf16(name);
  for (char16_t& unit : folded) {
    if (unit < 128) unit = static_cast<char16_t>(std::tolower(unit));
  }
  return folded;
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
    for (const auto& [name, id] : file.at("users").items()) accounts_[Fold(name)] = {name, id.get<std::uint32_t>()};
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
  if (const auto found = accounts_.find(Fold(name)); found != accounts_.end()) return SidOf(found->second);
  std::uint32_t relativeId = kFirstRelativeId;
  for (const auto& [key, account] : accounts_) relativeId = std::max(relativeId, account.relativeId + 1);
  Accounts changed = accounts_;
  changed[Fold(name)] = {name, relativeId};
  if (!Save(changed, error)) return std::nullopt;
  accounts_ = std::move(changed);
  return SidOf(accounts_.at(Fold(name)));
}

std::string UserStore::Spelling(const std::string& name) const {
  const auto found = accounts_.find(Fold(name));
  return found != accounts_.end() ? found->second.name : name;
}

json UserStore::Report() const {
  json report = json::array();
  for (const auto& [key, account] : accounts_) {
    report.push_back(json{{"user", account.name}, {"sid", SidOf(account)}});
  }
  return report;
}

std::string UserStore::SidOf(const Account& account) const {
  return machineSid_ + "-" + std::to_string(account.relativeId);
}

bool UserStore::Save(const Accounts& accounts, std::string* error) const {
  json users = json::object();
  for (const auto& [key, account] : accounts) users[account.name] = account.relativeId;
  return WriteJsonFile(path_, json{{"machineSid", machineSid_}, {"users", users}}, true, error);
}

}  // namespace machine
