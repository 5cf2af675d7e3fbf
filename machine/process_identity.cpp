#include "machine/process_identity.h"

#include <fstream>
#include <sstream>
#include <string>

namespace machine {

namespace {

// Field `number` (from 3 on) of /proc/<pid>/stat, or 0.
std::uint64_t StatField(pid_t pid, int number) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return 0;
  // The program's name stands in parentheses and may hold anything; field 3 follows the last one.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return 0;
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string skipped;
  for (int field = 3; field < number; ++field) fields >> skipped;
  std::uint64_t value = 0;
  fields >> value;
  return value;
}

}  // namespace

std::uint64_t ProcessStartTime(pid_t pid) {
  return StatField(pid, 22);
}

pid_t ParentProcess(pid_t pid) {
  return static_cast<pid_t>(StatField(pid, 4));
}

}  // namespace machine
