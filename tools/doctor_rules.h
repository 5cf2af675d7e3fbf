// The rules of `doctor`: each looks for one kind of thing that cannot work. Pure functions over a snapshot.
#pragma once

#include <span>

#include "tools/doctor_finding.h"
#include "tools/doctor_snapshot.h"

namespace tool::doctor {

struct Rule {
  const char* name;
  Findings (*find)(const Snapshot& snapshot);
};

// By subject, in the order in which they are told.
std::span<const Rule> ServiceRules();       // the service, its libraries, its switches
std::span<const Rule> HandlerRules();       // the handler lists as they stand in the registry
std::span<const Rule> TaskRules();          // the handler lists against the registered tasks
std::span<const Rule> RegistrationRules();  // the users' app-service registrations
std::span<const Rule> PackageRules();       // the registrations against the installed packages
std::span<const Rule> GrantRules();         // capabilities and allow-list

// Everything that any rule finds: errors first, then warnings, then notes; each in the order of the rules.
Findings Diagnose(const Snapshot& snapshot);

}  // namespace tool::doctor
