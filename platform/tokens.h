// Access tokens: whose they are, the token a thread impersonates with, package identity.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
// After the main header, whose types they use.
#include <userenv.h>

#include "platform/windows/package_identity.h"
#else
#include "platform/host/kernel/threads.h"
#include "platform/host/processes/tokens.h"
#endif
