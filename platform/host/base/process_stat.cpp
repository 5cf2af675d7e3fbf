#include "platform/host/base/process_stat.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <system_error>

namespace host {

namespace {

// Fields between the parent and the start time.
constexpr int kFieldsBetween = 17;

// Takes the next field, which blanks end, off `line`.
std::string_view NextField(std::string_view* line) {
  const std::size_t begin = line->find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  const std::size_t end = std::min(line->find(' ', begin), line->size());
  const std::string_view field = line->substr(begin, end - begin);
  line->remove_prefix(end);
  return field;
}

template <typename Number>
bool ReadNumber(std::string_view field, Number* number) {
  const auto result = std::from_chars(field.data(), field.data() + field.size(), *number);
  return result.ec == std::errc() && result.ptr == field.data() + field.size();
}

}  // namespace

std::optional<ProcessStat> ParseProcessStat(std::string_view line) {
  // The program's name stands in parentheses and may hold anything, so the fields are counted from the last one.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string_view::npos) return std::nullopt;
  line.remove_prefix(nameEnd + 1);
  ProcessStat stat;
  const std::string_view state = NextField(&line);
  if (state.size() != 1 || !ReadNumber(NextField(&line), &stat.parent)) return std::nullopt;
  stat.state = state.front();
  for (int field = 0; field < kFieldsBetween; ++field) NextField(&line);
  if (!ReadNumber(NextField(&line), &stat.startTime)) return std::nullopt;
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
