// The process-wide list of live subscriptions.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "common/mutex.h"
#include "rpc/event_notify.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Taken before a subscription's own lock, never after it.
extern Common::Mutex g_RpcEventNotifyListLock;

// In creation order. Never destroyed: thread-pool threads may still use it while the process ends.
extern std::vector<std::shared_ptr<CRpcEventNotify>>& g_RpcEventNotifyList HKD_GUARDED_BY(g_RpcEventNotifyListLock);

// From its return on the subscription receives every event. Behind the stop it accepts no waits, as those before it.
// Throws std::bad_alloc when the list cannot grow.
void AddToRpcEventNotifyList(std::shared_ptr<CRpcEventNotify> subscription) HKD_EXCLUDES(g_RpcEventNotifyListLock);

// Removes every occurrence and keeps the others in order.
void RemoveFromRpcEventNotifyList(const CRpcEventNotify* subscription) HKD_EXCLUDES(g_RpcEventNotifyListLock);

// Hands an event to every subscription in list order. A subscription that cannot keep it is logged; the next one still
// receives it.
void DeliverToSubscriptions(const Hkd04a7Rpc_EventRecord& record) HKD_EXCLUDES(g_RpcEventNotifyListLock);

// What the subscriptions keep for clients that have not asked for it yet. Queues have no bound, so somebody has to be
// able to see them.
struct RpcEventQueues {
  std::size_t events = 0;   // in all queues
  std::size_t longest = 0;  // in one of them
};

// Never waits for the list: false, and nothing measured, while an event is delivered or the service stops.
bool TryMeasureQueues(RpcEventQueues* queues) HKD_EXCLUDES(g_RpcEventNotifyListLock);

// For the start: subscriptions made from now on accept waits.
void AcceptWaitsOfNewSubscriptions() HKD_EXCLUDES(g_RpcEventNotifyListLock);

// For the stop: no subscription accepts waits any more, and every pending wait is completed. The same holds for
// subscriptions that are made until the interface is unregistered: their waits would keep that from ending.
void CancelAndNotAcceptWaitAllRpcEventNotify() HKD_EXCLUDES(g_RpcEventNotifyListLock);

}  // namespace Quorvex::PC::Hkd04a7::Service
