// System rights on the session of an RPC client: those of the session's own "winlogon.exe".
#pragma once

#include "auth/wts_process_api.h"
#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Whether `imageName` (may be null) is "winlogon.exe" in any letter case.
bool IsWinLogonExe(const WCHAR* imageName);

// A primary copy of the token of the LocalSystem "winlogon.exe" of the session of the client whose call this thread
// serves. Called with no impersonation in force, and returns with none. Empty, with the last error telling why, when
// there is none to be had: ERROR_NOT_SUPPORTED without the terminal services' functions, ERROR_NOT_FOUND when no
// process of the session will do. Throws nothing.
Common::UniqueHandle GetWinLogonExeToken(const CWtsProcessApi& wtsApi);

}  // namespace Quorvex::PC::Hkd04a7::Service
