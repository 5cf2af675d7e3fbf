#include "machine/process_identity.h"

#include <fstream>
#include <sstream>
#include <string>

namespace machine {

std::uint64_t ProcessStartTime(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return 0;
  // The program's name stands in parentheses and may hold anything; field 3 follows the last one.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return 0;
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string skipped;
  for (int field = 3; field < 22; ++field) fields >> skipped;
  std::uint64_t startTime = 0;
  fields >> startTime;
  return startTime;
}

}  // namespace machine
