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

// The package family name behind `token` (TOKEN_QUERY); `length` counts characters with the terminator, both ways.
// Returns 0 or an error code, and leaves that code as the thread's last error too: ERROR_INSUFFICIENT_BUFFER (122),
// APPMODEL_ERROR_NO_PACKAGE (15700).
LONG GetPackageFamilyNameFromToken(HANDLE token, UINT* length, PWSTR packageFamilyName);

// Unloads a profile that was loaded for `token`. No call here loads one, so `profile` can be none:
// ERROR_INVALID_HANDLE.
BOOL UnloadUserProfile(HANDLE token, HANDLE profile);
