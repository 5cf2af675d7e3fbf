// A trace channel that cannot be opened, for a library whose HKD04A7ETW_Open fails.
#include "standins/etw/trace_file.h"
#include "standins/last_error.h"

bool AppendTraceRecord(std::string_view) {
  LeaveLastError(kGeneralFailure);
  return false;
}

bool CanWriteTraceFile() {
  LeaveLastError(kGeneralFailure);
  return false;
}

std::uint32_t CurrentProcess() {
  return 0;
}
