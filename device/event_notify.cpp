#include "device/event_notify.h"

#include "device/trace_writer.h"
#include "rpc/event_notify_list.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {

void NotifyEvent(Service::CServiceContext& context, std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  if (eventId > EventId::Last) return;
  if (eventId != 0) WriteTrace<&CHkd04a7etwDll::WriteHkd04a7Event>(context, eventId, data1, data2);
  DebugLog(W("hkd04a7 - rpcserver - notify\n"));
  if (eventId != 0) Service::DeliverToSubscriptions({eventId, data1, data2});
}

}  // namespace Quorvex::PC::Hkd04a7
