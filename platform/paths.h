// Path functions with buffer sizes in characters.
#pragma once

#include "platform/types.h"

#ifdef _WIN32
#include <pathcch.h>
#else
#include "platform/host/kernel/paths.h"
#endif
