// Runs allow-listed commands with system rights for clients that may ask for it.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Bits of the flags word; the others are ignored.
inline constexpr DWORD RUN_FILE_NO_WAIT = 0x00000001;            // return when the program has started
inline constexpr DWORD RUN_FILE_IN_CLIENT_SESSION = 0x00000002;  // on the client's session, not on the service's

// The checks in their order, then the launch. Runs on the RPC runtime's thread that serves the request, with no
// impersonation in force, and returns with none. Without RUN_FILE_NO_WAIT it returns when the program has ended,
// however long that takes.
//
// `command` is the identifier in the allow-list; `par` goes behind the entry's own parameters, unchanged. S_OK when the
// program ran, with its exit code in `*exitCode` (0 with RUN_FILE_NO_WAIT). E_INVALIDARG when a text is null,
// E_ACCESSDENIED when the client may not ask, E_NOTIMPL when the command is not in the list, otherwise the failure of
// the launch. `*exitCode` is left alone unless a program was started. May throw std::bad_alloc before one is.
HRESULT RunFileAsSystem(DWORD flags, const WCHAR* command, const WCHAR* par, DWORD* exitCode);

}  // namespace Quorvex::PC::Hkd04a7::Service
