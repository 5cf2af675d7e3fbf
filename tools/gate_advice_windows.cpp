#include "tools/gate_advice.h"

namespace tool {
namespace {

std::string RegistryCommand(const std::string& key, const std::string& value, const char* typeAndData) {
  return "as administrator: reg add \"" + key + "\" /v \"" + value + "\" /t " + typeAndData;
}

}  // namespace

std::string GrantAdvice(const std::string& key, const std::string& package) {
  return RegistryCommand(key, package, "REG_DWORD /d 1");
}

std::string AllowAdvice(const std::string& key, const std::string& command) {
  return RegistryCommand(key, command, "REG_MULTI_SZ /d PROGRAM");
}

std::string PackageAdvice(const std::string& command) {
  return "ask for \"" + command + "\" from a packaged application";
}

}  // namespace tool
