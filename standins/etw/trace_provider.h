// Where trace events go: to the platform's event tracing on Windows, to `<runtime>/trace.log` of the machine on the
// host. Failures leave the last error. Any thread.
#pragma once

#include <cstdint>
#include <span>

#include "standins/etw/trace_event.h"

bool RegisterTraceProvider(std::uint64_t* registration);

void UnregisterTraceProvider(std::uint64_t registration);

// Writes the event whole: those of several threads and processes do not mix. As many values as the event has fields.
bool WriteTraceEvent(std::uint64_t registration, const TraceEvent& event, std::span<const std::uint32_t> values);
