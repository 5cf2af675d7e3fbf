// The Task Scheduler (version 2.0), and the creation of its objects.
#pragma once

#include "platform/automation.h"
#include "platform/com.h"

#ifdef _WIN32
#include "platform/windows/task_scheduler_codes.h"
#else
#include "platform/host/task_scheduler/task_scheduler.h"
#endif
