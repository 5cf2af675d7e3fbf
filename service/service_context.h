// Everything outside the service that the event pipeline needs: libraries, entry points, the trace registration,
// the connection to the Task Scheduler.
#pragma once

#include <cstdint>

#include "common/dll_handle.h"
#include "device/hkd04a7_dll.h"
#include "device/hkd04a7_etw_dll.h"
#include "device/trace_registration.h"
#include "service/wts_session_api.h"
#include "tasks/task_service.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Built and destroyed on the worker's thread, which must have joined the multithreaded COM apartment, and used on that
// thread only. A member that cannot be filled stays empty; each user checks what it uses. The order of the members is
// the order of construction, and its reverse the order in which they are released.
class CServiceContext {
 public:
  CServiceContext();
  // Cancels the device notification wait, then releases the members.
  ~CServiceContext();
  CServiceContext(const CServiceContext&) = delete;
  CServiceContext& operator=(const CServiceContext&) = delete;

  CHkd04a7etwDll etwDll;
  TraceRegistration trace;  // open only while etwDll is loaded
  CHkd04a7DllInternalAPI deviceDll;
  TaskServicePointer taskService;  // connected anew after a task that could not be run
  CWtsSessionApi wtsApi;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
