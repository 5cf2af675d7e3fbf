#include "machine/service_store.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/json_file.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kMaxServiceNameLength = 256;

}  // namespace

json ToJson(const ServiceConfiguration& configuration) {
  return json{{"name", configuration.name},
              {"displayName", configuration.displayName},
              {"program", configuration.program},
              {"arguments", configuration.arguments},
              {"startType", configuration.startType}};
}

void ReadConfiguration(const json& value, ServiceConfiguration* configuration) {
  configuration->name = value.value("name", configuration->name);
  configuration->displayName = value.value("displayName", configuration->displayName);
  configuration->program = value.value("program", configuration->program);
  configuration->arguments = value.value("arguments", configuration->arguments);
  configuration->startType = value.value("startType", configuration->startType);
}

std::string FaultOf(const ServiceConfiguration& configuration) {
  const std::string& name = configuration.name;
  if (name.empty() || name.size() > kMaxServiceNameLength || name.find_first_of("/\\") != std::string::npos)
    return "a service's name has 1 to 256 characters and no slash";
  if (configuration.program.empty()) return "the service's program is missing";
  if (configuration.startType < kAutomaticStart || configuration.startType > kDisabled)
    return "the start type is 2 (automatic), 3 (on demand) or 4 (disabled)";
  return {};
}

bool ServiceStore::Load(std::string* error) {
  json file;
  const JsonFileResult result = ReadJsonFile(path_, &file, error);
  if (result != JsonFileResult::kRead) return result == JsonFileResult::kMissing;
  try {
    for (const json& entry : file.at("services")) {
      ServiceConfiguration configuration;
      ReadConfiguration(entry, &configuration);
      *error = FaultOf(configuration);
      if (!error->empty()) return false;
      services_[configuration.name] = configuration;
    }
  } catch (const json::exception& wrong) {
    *error = path_ + ": " + wrong.what();
    return false;
  }
  return true;
}

const ServiceConfiguration* ServiceStore::Find(const std::string& name) const {
  const auto found = services_.find(name);
  return found != services_.end() ? &found->second : nullptr;
}

bool ServiceStore::Put(const ServiceConfiguration& configuration, std::string* error) {
  Services changed = services_;
  changed[configuration.name] = configuration;
  return Save(std::move(changed), error);
}

bool ServiceStore::Remove(const std::string& name, std::string* error) {
  Services changed = services_;
  changed.erase(name);
  return Save(std::move(changed), error);
}

bool ServiceStore::Save(Services changed, std::string* error) {
  json list = json::array();
  for (const auto& [name, configuration] : changed) list.push_back(ToJson(configuration));
  if (!WriteJsonFile(path_, json{{"services", list}}, true, error)) return false;
  services_ = std::move(changed);
  return true;
}

}  // namespace machine
