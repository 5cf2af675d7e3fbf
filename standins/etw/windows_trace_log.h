// A second, readable copy of the trace for whoever asks for it by making "hkd04a7-utility-etw.log" beside the library.
#pragma once

#include <cstdint>
#include <span>

#include "standins/etw/trace_event.h"

// Appends the event's record if there is such a file, and only then. What fails here loses the record, nothing more.
void AppendToTraceLog(const TraceEvent& event, std::span<const std::uint32_t> values);
