// What the tool chain's header of the Task Scheduler lacks.
#pragma once

#include <taskschd.h>

enum TASK_RUN_FLAGS {
  TASK_RUN_NO_FLAGS = 0,
  TASK_RUN_AS_SELF = 0x1,
  TASK_RUN_IGNORE_CONSTRAINTS = 0x2,
  TASK_RUN_USE_SESSION_ID = 0x4,
  TASK_RUN_USER_SID = 0x8
};
