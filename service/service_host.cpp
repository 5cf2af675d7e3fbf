#include "service/service_host.h"

#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {

CServiceHost::~CServiceHost() {
  Common::UniqueHandle event(wakeCheckEvent.exchange(nullptr));
  Common::UniqueHandle port(completionPort.exchange(nullptr));
}

}  // namespace Quorvex::PC::Hkd04a7::Service
