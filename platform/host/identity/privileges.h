// Which privileges of a token are enabled.
#pragma once

#include <atomic>
#include <memory>

namespace host {

// The one privilege the machine has: to act as part of the system. Tokens of LocalSystem have it. Any thread.
struct Privileges {
  std::atomic<bool> isTcbEnabled{false};
};

// Those of this process's own token. Never null.
const std::shared_ptr<Privileges>& OwnPrivileges();

// Those of a new token that is a copy: states of its own, as they are now; null (another process's) counts as disabled.
std::shared_ptr<Privileges> CopyOf(const std::shared_ptr<Privileges>& privileges);

}  // namespace host
