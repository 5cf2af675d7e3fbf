// The worker's main loop.
#pragma once

#include "service/service_context.h"
#include "service/service_host.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Acts on the packets of the completion port, one at a time, until a stop request arrives or the wait fails.
void ServePackets(CServiceHost& host, CServiceContext& context);

}  // namespace Quorvex::PC::Hkd04a7::Service
