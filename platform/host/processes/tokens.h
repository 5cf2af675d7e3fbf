// The token calls on the host.
//
// Calls that return BOOL set the thread's last error when they answer FALSE and leave it alone when they succeed. Token
// handles are closed with CloseHandle. A handle without the right a call needs: ERROR_ACCESS_DENIED (5); one that is no
// token: ERROR_INVALID_HANDLE (6). Any thread may call; what concerns the calling thread says so.
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/processes/token_types.h"

// The token that `thread`, which is GetCurrentThread(), impersonates with. `openAsSelf` must be TRUE: the process's own
// identity is asked whether it may. ERROR_NO_TOKEN (1008) when the thread impersonates nobody.
BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL openAsSelf, PHANDLE token);

// Makes the calling thread (`thread` must be null) impersonate with a token of type TokenImpersonation that may be used
// for it (TOKEN_IMPERSONATE); a null `token` ends its impersonation. ERROR_BAD_TOKEN_TYPE (1349) for a primary token.
BOOL SetThreadToken(PHANDLE thread, HANDLE token);

// The primary token of a process: a handle of OpenProcess with PROCESS_QUERY_INFORMATION, or GetCurrentProcess().
BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);

// A copy of `token` (TOKEN_DUPLICATE) as a token of `type`; MAXIMUM_ALLOWED gives every right. `attributes` must be
// null.
BOOL DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes, SECURITY_IMPERSONATION_LEVEL level,
                      TOKEN_TYPE type, PHANDLE newToken);

// TokenUser (a TOKEN_USER followed by its SID) or TokenSessionId (4 bytes) of `token` (TOKEN_QUERY). With a buffer that
// is too small, or none: ERROR_INSUFFICIENT_BUFFER, and the bytes needed in `returnLength`, which must not be null.
BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS kind, LPVOID information, DWORD length,
                         PDWORD returnLength);

// The number of a privilege by its name; `system` must be null. The machine has one privilege, SE_TCB_NAME. FALSE with
// ERROR_NO_SUCH_PRIVILEGE (1313) for another name.
BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid);

// Enables (SE_PRIVILEGE_ENABLED) or disables (0) the privileges listed in `newState` in `token`
// (TOKEN_ADJUST_PRIVILEGES), with `disableAll` every one. A token of LocalSystem has SE_TCB_NAME, disabled in a new
// process; other tokens have no privilege. What is done through any handle of the process's own token counts for the
// process; a copy has states of its own. TRUE also when the token has not all of them: the last error is 0, or then
// ERROR_NOT_ALL_ASSIGNED (1300). The earlier state cannot be asked for: `previousState` and `returnLength` must be
// null. The token of another process is not supported.
BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES newState, DWORD length,
                           PTOKEN_PRIVILEGES previousState, PDWORD returnLength);

// The package family name behind `token` (TOKEN_QUERY); `length` counts characters with the terminator, both ways.
// Returns 0 or an error code, and leaves that code as the thread's last error too: ERROR_INSUFFICIENT_BUFFER (122),
// APPMODEL_ERROR_NO_PACKAGE (15700).
LONG GetPackageFamilyNameFromToken(HANDLE token, UINT* length, PWSTR packageFamilyName);

// Unloads a profile that was loaded for `token`. No call here loads one, so `profile` can be none:
// ERROR_INVALID_HANDLE.
BOOL UnloadUserProfile(HANDLE token, HANDLE profile);
