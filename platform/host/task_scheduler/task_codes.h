// Codes of the Task Scheduler that the machine and the layer share.
#pragma once

#include "platform/host/base/error_codes.h"

#define SCHED_E_SERVICE_NOT_RUNNING (static_cast<HRESULT>(0x80041315u))
#define SCHED_E_ALREADY_RUNNING (static_cast<HRESULT>(0x8004131Fu))
#define SCHED_E_USER_NOT_LOGGED_ON (static_cast<HRESULT>(0x80041320u))
#define SCHED_E_TASK_DISABLED (static_cast<HRESULT>(0x80041326u))
#define SCHED_E_START_ON_DEMAND (static_cast<HRESULT>(0x80041328u))
