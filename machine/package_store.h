// The packages that are installed on the machine, kept in `<state>/packages.json`. Loop thread only.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "machine/name_order.h"

namespace machine {

struct AppServiceConfiguration {
  std::string name;
  std::string program;                 // a whole path; empty: the tool beside the daemon, as "app serve"
  std::vector<std::string> arguments;  // of the program; of the tool, behind "app serve <package> <name>"
};

struct Package {
  std::string familyName;             // "<name>_<publisher identifier>"
  std::vector<std::string> userSids;  // for whom it is installed; none: for everybody
  bool appContainer = false;          // its programs run in one
  std::vector<AppServiceConfiguration> services;

  bool IsInstalledFor(const std::string& userSid) const;
  // Null when it has none of that name. Names of app services differ in case too.
  const AppServiceConfiguration* FindService(const std::string& name) const;
};

// {"package","users","appContainer","services":[{"name","program","arguments"}]}
nlohmann::json ToJson(const Package& package);
// Throws json's exception for a member that is missing or of a wrong type.
Package ReadPackage(const nlohmann::json& value);
AppServiceConfiguration ReadAppService(const nlohmann::json& value);  // "program" and "arguments" may be missing

// Empty when `package` can be kept, else what is wrong with it.
std::string FaultOf(const Package& package);

class PackageStore {
 public:
  explicit PackageStore(std::string path) : path_(std::move(path)) {}

  // A missing file is an empty store. False with a sentence in `error` for a damaged one.
  bool Load(std::string* error);

  // Null when there is none of that name.
  const Package* Find(const std::string& familyName) const;

  // Keeps the package under its name. False, with nothing changed, when the file could not be written.
  bool Put(const Package& package, std::string* error);
  bool Remove(const std::string& familyName, std::string* error);

  using Packages = std::map<std::string, Package, NameLess>;
  const Packages& all() const { return packages_; }

 private:
  bool Save(Packages changed, std::string* error);

  const std::string path_;
  Packages packages_;
};

}  // namespace machine
