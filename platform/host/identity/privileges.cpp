#include "platform/host/identity/privileges.h"

namespace host {

const std::shared_ptr<Privileges>& OwnPrivileges() {
  static const auto* own = new std::shared_ptr<Privileges>(new Privileges);  // outlives every thread of the process
  return *own;
}

std::shared_ptr<Privileges> CopyOf(const std::shared_ptr<Privileges>& privileges) {
  auto copy = std::make_shared<Privileges>();
  if (privileges != nullptr) copy->isTcbEnabled = privileges->isTcbEnabled.load();
  return copy;
}

}  // namespace host
