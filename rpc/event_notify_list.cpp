#include "rpc/event_notify_list.h"

#include <algorithm>
#include <new>
#include <utility>

#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {

using Common::MutexLock;
using Subscriptions = std::vector<std::shared_ptr<CRpcEventNotify>>;

Common::Mutex g_RpcEventNotifyListLock;
Subscriptions& g_RpcEventNotifyList = *new Subscriptions;

namespace {

// Whether a new subscription accepts waits: not behind the stop.
bool g_acceptingWaits HKD_GUARDED_BY(g_RpcEventNotifyListLock) = true;

}  // namespace

void AddToRpcEventNotifyList(std::shared_ptr<CRpcEventNotify> subscription) {
  const MutexLock hold(g_RpcEventNotifyListLock);
  if (!g_acceptingWaits) subscription->CancelAndNotAcceptWait();
  g_RpcEventNotifyList.push_back(std::move(subscription));
}

void RemoveFromRpcEventNotifyList(const CRpcEventNotify* subscription) {
  // Kept until the lock is released: the last reference may go here, and ending a subscription takes its own lock.
  std::shared_ptr<CRpcEventNotify> removed;
  const MutexLock hold(g_RpcEventNotifyListLock);
  std::erase_if(g_RpcEventNotifyList, [&](std::shared_ptr<CRpcEventNotify>& entry) {
    if (entry.get() != subscription) return false;
    removed = entry;
    return true;
  });
}

void DeliverToSubscriptions(const Hkd04a7Rpc_EventRecord& record) {
  const MutexLock hold(g_RpcEventNotifyListLock);
  for (const auto& subscription : g_RpcEventNotifyList) {
    DebugLog(W("hkd04a7 - rpcserver - notify -2\n"));
    try {
      subscription->NotifyCore(record);
    } catch (const std::bad_alloc&) {
      DebugLog(W("hkd04a7 - rpcserver - notify failed, out of memory (%u, %08xh, %08xh)\n"), record.eventId,
               record.data1, record.data2);
    }
  }
}

bool TryMeasureQueues(RpcEventQueues* queues) {
  if (!g_RpcEventNotifyListLock.TryLock()) return false;
  *queues = {};
  for (const auto& subscription : g_RpcEventNotifyList) {
    const std::size_t events = subscription->QueuedEvents();
    queues->events += events;
    queues->longest = std::max(queues->longest, events);
  }
  g_RpcEventNotifyListLock.Unlock();
  return true;
}

void AcceptWaitsOfNewSubscriptions() {
  const MutexLock hold(g_RpcEventNotifyListLock);
  g_acceptingWaits = true;
}

void CancelAndNotAcceptWaitAllRpcEventNotify() {
  DebugLog(W("hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -1\n"));
  const MutexLock hold(g_RpcEventNotifyListLock);
  g_acceptingWaits = false;
  for (const auto& subscription : g_RpcEventNotifyList) {
    DebugLog(W("hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -2\n"));
    subscription->CancelAndNotAcceptWait();
  }
}

}  // namespace Quorvex::PC::Hkd04a7::Service
