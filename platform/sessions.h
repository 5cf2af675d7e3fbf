// Terminal services: sessions, their users and their processes. The functions are bound at run time from
// "wtsapi32.dll"; only their types are taken from here.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <wtsapi32.h>

#include "platform/windows/session_processes.h"
#else
#include "platform/host/services/sessions.h"
#endif
