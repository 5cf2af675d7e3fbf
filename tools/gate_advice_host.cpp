#include "tools/gate_advice.h"

namespace tool {

std::string GrantAdvice(const std::string& /*key*/, const std::string& package) {
  return "hkd04a7ctl caps grant " + package;
}

std::string AllowAdvice(const std::string& /*key*/, const std::string& command) {
  return "hkd04a7ctl allow add " + command + " PROGRAM";
}

std::string PackageAdvice(const std::string& command) {
  return "hkd04a7ctl run --package PACKAGE -- hkd04a7ctl run-as-system " + command;
}

}  // namespace tool
