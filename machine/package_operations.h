// The operations "package.add", "package.remove" and "package.list". Loop thread only.
#pragma once

#include <string>

#include "machine/app_service_host.h"
#include "machine/op_registry.h"
#include "machine/package_store.h"
#include "machine/user_store.h"

namespace machine {

class PackageOperations {
 public:
  PackageOperations(PackageStore& packages, AppServiceHost& host, const UserStore& users)
      : packages_(packages), host_(host), users_(users) {}

  // "package.add" {"package", "user", "appContainer", "service": {"name","program","arguments"}}, all but the first
  // optional: installs the package for this user, or for everybody; on one that is installed, also for this user, and
  // the app service is added or takes the place of the one of its name, which ends. Answers {"installed"}, the
  // package as "package.list" has it. Refused with 123 (the names), 1317 (no such
  // user) or 183 (a user of a package that everybody has).
  //
  // "package.remove" {"package","user"}: for this user, or altogether; its app services end. Refused with 1168 (not
  // installed there), 1317, or 50 (one user of a package that everybody has).
  //
  // "package.list" answers {"packages":[...],"running":[...]}, as ToJson and AppServiceHost::Report say, with names in
  // place of "users", and "user" beside each "userSid".
  void Add(OpRegistry& operations);

 private:
  void Install(const Request& request);
  void Remove(const Request& request);
  nlohmann::json Row(const Package& package) const;
  nlohmann::json List() const;
  bool ReadUser(const Request& request, std::string* sid) const;
  void EndServices(const std::string& package, const std::string& userSid, const std::string& service);

  PackageStore& packages_;
  AppServiceHost& host_;
  const UserStore& users_;
};

}  // namespace machine
