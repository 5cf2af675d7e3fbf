// The programs that the service starts while a call runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct StartedProgram {
  std::uint32_t pid = 0;
  std::uint32_t session = 0;
  std::string program;      // its path
  std::string commandLine;  // as the service gave it
};

// Looks from construction on. On Windows nobody tells, so there are none to see.
class StartedPrograms {
 public:
  StartedPrograms();

  // What the service has started since, oldest first; also what other clients had it start meanwhile. Empty where the
  // machine does not tell.
  std::vector<StartedProgram> ByService() const;

 private:
  std::uint64_t last_ = 0;     // the number of the newest program before
  std::uint64_t service_ = 0;  // the service's process; 0: not known
};

}  // namespace tool
