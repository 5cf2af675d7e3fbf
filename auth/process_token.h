// Tokens of running processes. Any thread, with the service's own identity; throws nothing.
#pragma once

#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Whether the process runs as LocalSystem; false also when that cannot be found out.
bool IsLocalSystemProcess(DWORD processId);

// A primary copy of the process's token; empty, with the last error telling why, when there is none to be had.
Common::UniqueHandle DuplicateProcessToken(DWORD processId);

}  // namespace Quorvex::PC::Hkd04a7::Service
