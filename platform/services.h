// The service control manager, from a service's side: dispatcher, control handler, status, configuration; with the
// codes of power and session notices.
#pragma once

#include "platform/types.h"

#ifndef _WIN32
#include "platform/host/services/services.h"
#endif
