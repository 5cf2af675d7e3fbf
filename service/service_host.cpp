#include "service/service_host.h"

#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {

CServiceHost::~CServiceHost() {
  Common::UniqueHandle(wakeCheckEvent.exchange(nullptr)).Reset();
  Common::UniqueHandle(completionPort.exchange(nullptr)).Reset();
}

}  // namespace Quorvex::PC::Hkd04a7::Service
