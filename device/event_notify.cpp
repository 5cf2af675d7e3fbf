#include "device/event_notify.h"

#include <new>

#include "appservice/user_session_notifier.h"
#include "device/trace_writer.h"
#include "rpc/event_notify_list.h"
#include "service/debug_log.h"
#include "tasks/scheduled_task.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

// Lets `target` have the event. Where memory runs short over it, that is this target's failure alone.
template <typename Target>
void Deliver(const WCHAR* name, const Hkd04a7Rpc_EventRecord& event, Target target) {
  try {
    target();
  } catch (const std::bad_alloc&) {
    DebugLog(W("hkd04a7 - %s - notify failed, out of memory (%u, %08xh, %08xh)\n"), name, event.eventId, event.data1,
             event.data2);
  }
}

}  // namespace

void NotifyEvent(Service::CServiceContext& context, std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  if (eventId > EventId::Last) return;
  const Hkd04a7Rpc_EventRecord event{eventId, data1, data2};
  if (eventId != 0) WriteTrace<&CHkd04a7etwDll::WriteHkd04a7Event>(context, eventId, data1, data2);
  DebugLog(W("hkd04a7 - rpcserver - notify\n"));
  if (eventId != 0) Service::DeliverToSubscriptions(event);
  Deliver(W("scheduled tasks"), event, [&] { NotifyEventByScheduledTask(context.taskService, eventId, data1, data2); });
  Deliver(W("uwpassist"), event, [&] { UwpAssistNotify(context.wtsApi, eventId, data1, data2); });
}

}  // namespace Quorvex::PC::Hkd04a7
