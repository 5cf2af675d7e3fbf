// The service's life between start and stop.
#pragma once

#include "service/service_host.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Runs on the service's own thread, once the completion port exists, and returns when the service is to stop; may set
// exit codes in the host's status. Every event of the service is produced on this thread.
void RunWorker(CServiceHost& host);

}  // namespace Quorvex::PC::Hkd04a7::Service
