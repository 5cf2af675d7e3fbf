// The process thread pool, for simple callbacks.
#pragma once

#include "platform/host/base/types.h"

struct TP_CALLBACK_INSTANCE;
struct TP_CALLBACK_ENVIRON;
using PTP_CALLBACK_INSTANCE = TP_CALLBACK_INSTANCE*;
using PTP_CALLBACK_ENVIRON = TP_CALLBACK_ENVIRON*;
using PTP_SIMPLE_CALLBACK = void (*)(PTP_CALLBACK_INSTANCE instance, PVOID context);

// Runs callback(instance, context) once on a thread of the pool. `environment` must be null; the callback's `instance`
// is null here. FALSE with the last error set when it could not be queued.
BOOL TrySubmitThreadpoolCallback(PTP_SIMPLE_CALLBACK callback, PVOID context, PTP_CALLBACK_ENVIRON environment);

namespace host {

// Returns when no callback is queued or running. Not to be called from a callback.
void WaitForThreadPoolIdle();

}  // namespace host
