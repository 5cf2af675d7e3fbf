#include "platform/host/base/last_error.h"

namespace {
thread_local DWORD lastError = 0;
}  // namespace

DWORD GetLastError() {
  return lastError;
}

void SetLastError(DWORD code) {
  lastError = code;
}
