// The token of whoever is logged on to a session.
#pragma once

#include "common/handles.h"
#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// A primary token of the session's user, with every right; empty when there is none to be had. Where the service lacks
// its privilege to act as part of the operating system, it is enabled, and stays so. Worker's thread; throws nothing.
Common::UniqueHandle GetSessionUserToken(const Service::CWtsSessionApi& wtsApi, DWORD sessionId);

// As GetSessionUserToken for the first active session, in the order of the terminal services' list.
Common::UniqueHandle GetActiveUserToken(const Service::CWtsSessionApi& wtsApi);

}  // namespace Quorvex::PC::Hkd04a7
