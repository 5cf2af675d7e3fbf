#include "platform/host/base/process_stat.h"

#include <fstream>
#include <sstream>

namespace host {

namespace {

// Fields between the parent and the start time.
constexpr int kFieldsBetween = 17;

}  // namespace

std::optional<ProcessStat> ParseProcessStat(std::string_view line) {
  // The program's name stands in parentheses and may hold anything, so the fields are counted from the last one.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string_view::npos) return std::nullopt;
  std::istringstream fields{std::string(line.substr(nameEnd + 1))};
  ProcessStat stat;
  fields >> stat.state >> stat.parent;
  std::string skipped;
  for (int field = 0; field < kFieldsBetween; ++field) fields >> skipped;
  if (!(fields >> stat.startTime)) return std::nullopt;
  return stat;
}

std::optional<ProcessStat> ReadStatFile(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return ParseProcessStat(line);
}

std::optional<ProcessStat> ReadProcessStat(pid_t pid) {
  return ReadStatFile("/proc/" + std::to_string(pid) + "/stat");
}

std::uint64_t ProcessStartTime(pid_t pid) {
  const auto stat = ReadProcessStat(pid);
  return stat ? stat->startTime : 0;
}

pid_t ParentProcess(pid_t pid) {
  const auto stat = ReadProcessStat(pid);
  return stat ? stat->parent : 0;
}

}  // namespace host
