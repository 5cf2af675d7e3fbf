#include "standins/etw/trace_record.h"

#include <chrono>

#include "standins/etw/trace_file.h"

namespace {

template <typename Clock, typename Unit>
std::string Now() {
  return std::to_string(std::chrono::duration_cast<Unit>(Clock::now().time_since_epoch()).count());
}

}  // namespace

std::string FormatTraceRecord(std::string_view event, std::span<const TraceArgument> arguments) {
  std::string names;
  std::string values;
  for (const TraceArgument& argument : arguments) {
    const char* comma = names.empty() ? "" : ",";
    names.append(comma).append("\"").append(argument.name).append("\"");
    values.append(comma).append(std::to_string(argument.value));
  }
  std::string record = "{\"t\":" + Now<std::chrono::steady_clock, std::chrono::nanoseconds>();
  record += ",\"wall\":" + Now<std::chrono::system_clock, std::chrono::milliseconds>();
  record += ",\"pid\":" + std::to_string(CurrentProcess());
  record.append(",\"event\":\"").append(event).append("\",\"names\":[").append(names);
  return record.append("],\"args\":[").append(values).append("]}\n");
}
