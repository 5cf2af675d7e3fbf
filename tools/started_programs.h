// The programs that the service starts while a call runs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct StartedProgram {
  std::uint32_t pid = 0;
  std::uint32_t session = 0;
  std::string program;      // its path
  std::string commandLine;  // as the service gave it
};

// How to tell the program of one request from those that other clients have the service start meanwhile.
struct StartedBy {
  std::string parameters;                 // the caller's, the end of the command line; empty: any
  bool clientSession = false;             // in this process's session, else in the services'
  std::optional<std::uint32_t> exitCode;  // where the program was waited for
};

// Looks from construction on. On Windows nobody tells, so there are none to see.
class StartedPrograms {
 public:
  StartedPrograms();

  // What the service has started since that fits the request, oldest first: more than one only where other clients
  // asked for the like meanwhile. Empty where the machine does not tell.
  std::vector<StartedProgram> ByService(const StartedBy& request) const;

 private:
  std::uint64_t last_ = 0;     // the number of the newest program before
  std::uint64_t service_ = 0;  // the service's process; 0: not known
};

}  // namespace tool
