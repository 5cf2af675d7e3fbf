// SIDs, access-control lists, security descriptors and their text form.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <aclapi.h>
#include <sddl.h>
#include <securitybaseapi.h>
#else
#include "platform/host/security/security.h"
#endif
