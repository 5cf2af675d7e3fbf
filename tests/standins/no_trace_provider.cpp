// A trace provider that cannot be registered, for a library whose HKD04A7ETW_Open fails.
#include "standins/etw/trace_provider.h"
#include "standins/last_error.h"

bool RegisterTraceProvider(std::uint64_t*) {
  LeaveLastError(kGeneralFailure);
  return false;
}

void UnregisterTraceProvider(std::uint64_t) {}

bool WriteTraceEvent(std::uint64_t, const TraceEvent&, std::span<const std::uint32_t>) {
  LeaveLastError(kGeneralFailure);
  return false;
}
