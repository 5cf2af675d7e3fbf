// COM automation: VARIANT, BSTR and SAFEARRAY.
#pragma once

#include "platform/com.h"

#ifdef _WIN32
#include <oleauto.h>
#else
#include "platform/host/automation/automation.h"
#endif
