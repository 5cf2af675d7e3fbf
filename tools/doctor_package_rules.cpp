// The users' registrations against the packages that are installed.
#include <algorithm>

#include "tools/doctor_listings.h"
#include "tools/doctor_rules.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

std::string UserName(const MachineFacts& machine, const std::string& sid) {
  for (const UserFact& user : machine.users.value_or(std::vector<UserFact>()))
    if (user.sid == sid) return user.name;
  return sid;
}

bool IsInstalledFor(const PackageFact& package, const std::string& sid) {
  return package.users.empty() || std::find(package.users.begin(), package.users.end(), sid) != package.users.end();
}

const PackageFact* FindPackage(const MachineFacts& machine, const Registration& registration) {
  for (const PackageFact& package : *machine.packages)
    if (SameName(ToWide(package.family), registration.package) && IsInstalledFor(package, registration.sid))
      return &package;
  return nullptr;
}

// Names that are empty or skipped are told of elsewhere.
bool CanBeDelivered(const Registration& registration) {
  return IsDelivered(registration) && !registration.package.empty() && !registration.Service().empty();
}

Findings PackagesThatAreNot(const Snapshot& snapshot) {
  Findings found;
  if (!snapshot.machine.packages) return found;
  for (const Registration& one : ReadRegistrations(snapshot.registry)) {
    if (!CanBeDelivered(one) || FindPackage(snapshot.machine, one) != nullptr) continue;
    const std::string user = UserName(snapshot.machine, one.sid);
    found.push_back({Severity::Error, one.Where(),
                     "the package is not installed for " + user + ": each delivery ends with connection status 1",
                     "hkd04a7ctl package add " + ShellWord(ToNarrow(one.package))});
  }
  return found;
}

Findings ServicesThatAreNot(const Snapshot& snapshot) {
  Findings found;
  if (!snapshot.machine.packages) return found;
  for (const Registration& one : ReadRegistrations(snapshot.registry)) {
    const PackageFact* package = CanBeDelivered(one) ? FindPackage(snapshot.machine, one) : nullptr;
    if (package == nullptr) continue;
    const WideString service = one.Service();
    const auto isIt = [&](const std::string& name) { return ToWide(name) == service; };
    if (std::none_of(package->services.begin(), package->services.end(), isIt))
      found.push_back(
          {Severity::Error, one.Where(),
           "the package has no app service " + Quoted(service) + ": each delivery ends with connection status 3",
           "hkd04a7ctl package list shows its app services"});
  }
  return found;
}

constexpr Rule kPackageRules[] = {{"no-such-package", PackagesThatAreNot}, {"no-such-app-service", ServicesThatAreNot}};

}  // namespace

std::span<const Rule> PackageRules() {
  return kPackageRules;
}

}  // namespace tool::doctor
