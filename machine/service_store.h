// The configured services, kept in `<state>/services.json`. Loop thread only.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/name_order.h"
#include "platform/host/base/types.h"

namespace machine {

// Start types, as SERVICE_AUTO_START and SERVICE_DISABLED.
inline constexpr DWORD kAutomaticStart = 2;
inline constexpr DWORD kDisabled = 4;

struct ServiceConfiguration {
  std::string name;
  std::string displayName;
  std::string program;                 // path of the executable
  std::vector<std::string> arguments;  // of its command line
  DWORD startType = 3;                 // SERVICE_DEMAND_START
};

nlohmann::json ToJson(const ServiceConfiguration& configuration);

// Reads the members that are there over `configuration`. Throws json's exception for a member of a wrong type.
void ReadConfiguration(const nlohmann::json& value, ServiceConfiguration* configuration);

// Empty when `configuration` can be kept, else what is wrong with it.
std::string FaultOf(const ServiceConfiguration& configuration);

class ServiceStore {
 public:
  explicit ServiceStore(std::string path) : path_(std::move(path)) {}

  // A missing file is an empty store. False with a sentence in `error` for a damaged one.
  bool Load(std::string* error);

  // Null when there is none of that name.
  const ServiceConfiguration* Find(const std::string& name) const;

  // Keeps the configuration under its name. False, with nothing changed, when the file could not be written.
  bool Put(const ServiceConfiguration& configuration, std::string* error);
  bool Remove(const std::string& name, std::string* error);

  const std::map<std::string, ServiceConfiguration, NameLess>& all() const { return services_; }

 private:
  using Services = std::map<std::string, ServiceConfiguration, NameLess>;
  bool Save(Services changed, std::string* error);

  std::string path_;
  Services services_;
};

}  // namespace machine
