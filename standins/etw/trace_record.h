// One trace event as a line of text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct TraceArgument {
  const char* name;
  std::uint32_t value;
};

// A JSON object and a line end: {"t":<monotonic ns>,"wall":<ms since 1970>,"pid":N,"event":"...","names":[...],
// "args":[...]}. The time is that of the call.
std::string FormatTraceRecord(std::string_view event, std::span<const TraceArgument> arguments);
