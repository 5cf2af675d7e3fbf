// Writing a trace event through the context's registration.
#pragma once

#include "common/entry_point_call.h"
#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// Calls one writer of the event-tracing library with the trace handle and `values`, as in
// WriteTrace<&CHkd04a7etwDll::WriteWindowsPowerEvent>(context, 0u). Skipped silently while no registration is open; a
// missing writer only sets last error 50.
template <auto Writer, typename... Values>
void WriteTrace(const Service::CServiceContext& context, Values... values) {
  if (!context.trace.IsOpen()) return;
  Common::CallEntryPoint(context.trace.Provider().*Writer, context.trace.Handle(), values...);
}

}  // namespace Quorvex::PC::Hkd04a7
