// Taking the registry's part of the snapshot.
#pragma once

#include "tools/doctor_snapshot.h"

namespace tool::doctor {

// Reads what the service reads: the machine's keys in both views, the registrations of every loaded user, the device's
// tables. What is missing stays empty. Answers a Win32 code, and in `where` the key that could not be read.
LSTATUS TakeRegistry(RegistrySnapshot* snapshot, std::string* where);

// Whether there is a file of this path, as the platform takes paths.
bool ProgramExists(const std::string& program);

}  // namespace tool::doctor
