// One trace event as a line of text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "standins/etw/trace_event.h"

// A JSON object and a line end: {"t":<monotonic ns>,"wall":<ms since 1970>,"pid":N,"event":"...","names":[...],
// "args":[...]}. The time is that of the call. As many values as the event has fields.
std::string FormatTraceRecord(std::uint32_t process, const TraceEvent& event, std::span<const std::uint32_t> values);
