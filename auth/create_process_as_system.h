// The launch of a program with system rights, once it has been decided on.
#pragma once

#include "auth/command_allow_list.h"
#include "auth/wts_process_api.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The command line of a launch: the application in quotes, a blank, the parameters.
WideString FormatCommandLine(const AllowedCommand& command);

// Starts the program with a system token, on the session that `flags` choose (RUN_FILE_*), in an environment of that
// token's own, and waits for it unless told not to. Result and `*exitCode` as of RunFileAsSystem; a launch that fails
// answers the last error of its failing step.
HRESULT CreateProcessAsSystem(const CWtsProcessApi& wtsApi, DWORD flags, const AllowedCommand& command,
                              DWORD* exitCode);

}  // namespace Quorvex::PC::Hkd04a7::Service
