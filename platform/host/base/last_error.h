// The thread's last error.
#pragma once

#include "platform/host/base/types.h"

// The calling thread's last error; 0 on a new thread.
DWORD GetLastError();
void SetLastError(DWORD code);

namespace host {

// For flat functions: sets the last error and gives the failure result in one step.
inline BOOL FailWith(DWORD code) {
  SetLastError(code);
  return FALSE;
}

}  // namespace host
