// What an app service answered.
#pragma once

#include "platform/app_service.h"
#include "platform/host/runtime/reference.h"
#include "platform/host/runtime/value_set.h"

namespace host::runtime {

// A response of status Success with `message`, or without one of status Failure.
Reference<Runtime::IAppServiceResponse> MakeAppServiceResponse(const Reference<ValueSet>& message);

}  // namespace host::runtime
