#include "standins/etw/trace_record.h"

#include <chrono>

namespace {

template <typename Clock, typename Unit>
std::string Now() {
  return std::to_string(std::chrono::duration_cast<Unit>(Clock::now().time_since_epoch()).count());
}

}  // namespace

std::string FormatTraceRecord(std::uint32_t process, const TraceEvent& event, std::span<const std::uint32_t> values) {
  std::string names;
  std::string arguments;
  for (std::size_t n = 0; n < values.size(); ++n) {
    const char* comma = n == 0 ? "" : ",";
    names.append(comma).append("\"").append(event.fields[n]).append("\"");
    arguments.append(comma).append(std::to_string(values[n]));
  }
  std::string record = "{\"t\":" + Now<std::chrono::steady_clock, std::chrono::nanoseconds>();
  record += ",\"wall\":" + Now<std::chrono::system_clock, std::chrono::milliseconds>();
  record += ",\"pid\":" + std::to_string(process);
  record.append(",\"event\":\"").append(event.name).append("\",\"names\":[").append(names);
  return record.append("],\"args\":[").append(arguments).append("]}\n");
}
