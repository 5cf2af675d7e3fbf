// The derivation of capability SIDs from a name: the one export of the system module
// "api-ms-win-security-base-l1-2-2.dll".
#pragma once

#include "platform/host/base/types.h"
#include "platform/host/security/security_types.h"

// Derives the group SID and the capability SID of `name`, one each. Every SID and both arrays are released with
// LocalFree. FALSE with ERROR_INVALID_PARAMETER for a null argument, nothing handed out. Any thread.
BOOL DeriveCapabilitySidsFromName(LPCWSTR name, PSID** groupSids, DWORD* groupSidCount, PSID** sids, DWORD* sidCount);

namespace host {

// For tests: how many capability SIDs the next derivations hand out (1 unless set).
void SetDerivedCapabilityCount(DWORD count);

// Makes the system module known. Called once by whoever sets up the process's system modules; further calls do nothing.
void RegisterCapabilityModule();

}  // namespace host
