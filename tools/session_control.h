// Logon and logoff at the machine. Each answers an exit code, having reported a failure.
#pragma once

#include <cstdint>
#include <string>

#include "tools/options.h"

namespace tool {

struct LogonRequest {
  std::string user;
};

// Logs the user on at the console; `session` (may be null) gets the number of the session.
int Logon(const Options& options, const LogonRequest& request, std::uint32_t* session);

int Logoff(const Options& options, std::uint32_t session);

}  // namespace tool
