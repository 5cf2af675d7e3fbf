// What opens a gate, as a command of the system that this tool was built for.
#pragma once

#include <string>

namespace tool {

// `key` as in Gate.
std::string GrantAdvice(const std::string& key, const std::string& package);
std::string AllowAdvice(const std::string& key, const std::string& command);
// For a process that is in no package.
std::string PackageAdvice(const std::string& command);

}  // namespace tool
