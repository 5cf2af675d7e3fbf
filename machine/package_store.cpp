#include "machine/package_store.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "machine/json_file.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kMinPackageName = 3;
constexpr std::size_t kMaxPackageName = 50;
constexpr std::size_t kPublisherIdLength = 13;
constexpr std::size_t kMaxServiceName = 199;
constexpr std::string_view kNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr std::string_view kPublisherCharacters = "0123456789abcdefghjkmnpqrstvwxyz";

bool ConsistsOf(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == std::string_view::npos;
}

bool IsFamilyName(std::string_view text) {
  const std::size_t line = text.find('_');
  if (line == std::string_view::npos || line < kMinPackageName || line > kMaxPackageName) return false;
  const std::string_view publisher = text.substr(line + 1);
  return ConsistsOf(text.substr(0, line), kNameCharacters) && publisher.size() == kPublisherIdLength &&
         ConsistsOf(publisher, kPublisherCharacters);
}

std::string FaultOf(const AppServiceConfiguration& service) {
  const bool printable =
      std::none_of(service.name.begin(), service.name.end(), [](unsigned char unit) { return unit < ' '; });
  if (!printable || service.name.empty() || service.name.size() > kMaxServiceName)
    return "an app service's name has 1 to 199 characters, none of them a control character";
  if (!service.program.empty() && service.program.front() != '/')
    return "the program of an app service is given by its whole path";
  return {};
}

json ToJson(const AppServiceConfiguration& service) {
  return json{{"name", service.name}, {"program", service.program}, {"arguments", service.arguments}};
}

}  // namespace

bool Package::IsInstalledFor(const std::string& userSid) const {
  return userSids.empty() || std::find(userSids.begin(), userSids.end(), userSid) != userSids.end();
}

const AppServiceConfiguration* Package::FindService(const std::string& name) const {
  const auto found = std::find_if(services.begin(), services.end(),
                                  [&](const AppServiceConfiguration& service) { return service.name == name; });
  return found != services.end() ? &*found : nullptr;
}

json ToJson(const Package& package) {
  json services = json::array();
  for (const AppServiceConfiguration& service : package.services) services.push_back(ToJson(service));
  return json{{"package", package.familyName},
              {"users", package.userSids},
              {"appContainer", package.appContainer},
              {"services", std::move(services)}};
}

AppServiceConfiguration ReadAppService(const json& value) {
  return {value.at("name").get<std::string>(), value.value("program", ""),
          value.value("arguments", std::vector<std::string>{})};
}

Package ReadPackage(const json& value) {
  Package package;
  package.familyName = value.at("package").get<std::string>();
  package.userSids = value.at("users").get<std::vector<std::string>>();
  package.appContainer = value.at("appContainer").get<bool>();
  for (const json& service : value.at("services")) package.services.push_back(ReadAppService(service));
  return package;
}

std::string FaultOf(const Package& package) {
  if (!IsFamilyName(package.familyName))
    return "'" + package.familyName +
           "' is no package family name: 3 to 50 letters, digits, points and dashes, then _ and the publisher's "
           "identifier, 13 digits and small letters without i, l, o and u";
  for (const AppServiceConfiguration& service : package.services) {
    if (std::string fault = FaultOf(service); !fault.empty()) return fault;
  }
  return {};
}

bool PackageStore::Load(std::string* error) {
  json file;
  const JsonFileResult result = ReadJsonFile(path_, &file, error);
  if (result != JsonFileResult::kRead) return result == JsonFileResult::kMissing;
  try {
    for (const json& entry : file.at("packages").get_ref<const json::array_t&>()) {
      Package package = ReadPackage(entry);
      if (const std::string fault = FaultOf(package); !fault.empty()) {
        *error = path_ + ": " + fault;
        return false;
      }
      packages_[package.familyName] = std::move(package);
    }
  } catch (const json::exception& wrong) {
    *error = path_ + ": " + wrong.what();
    return false;
  }
  return true;
}

const Package* PackageStore::Find(const std::string& familyName) const {
  const auto found = packages_.find(familyName);
  return found != packages_.end() ? &found->second : nullptr;
}

bool PackageStore::Put(const Package& package, std::string* error) {
  Packages changed = packages_;
  changed[package.familyName] = package;
  return Save(std::move(changed), error);
}

bool PackageStore::Remove(const std::string& familyName, std::string* error) {
  Packages changed = packages_;
  changed.erase(familyName);
  return Save(std::move(changed), error);
}

bool PackageStore::Save(Packages changed, std::string* error) {
  json list = json::array();
  for (const auto& [name, package] : changed) list.push_back(ToJson(package));
  if (!WriteJsonFile(path_, json{{"packages", list}}, true, error)) return false;
  packages_ = std::move(changed);
  return true;
}

}  // namespace machine
