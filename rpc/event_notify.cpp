#include "rpc/event_notify.h"

#include <utility>

#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {

using Common::MutexLock;

CRpcEventNotify::~CRpcEventNotify() {
  CancelWait();
}

DWORD CRpcEventNotify::WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* record) {
  DebugLog(W("hkd04a7 - rpcserver - WaitEventAsync\n"));
  const MutexLock hold(lock);
  if (!acceptingWaits) {
    DebugLog(W("hkd04a7 - rpcserver - WaitEventAsync - not accept\n"));
    SetPending(asyncState, record);
    Complete(kWaitNotAccepted, nullptr);
    return NO_ERROR;
  }
  if (!GiveUpCancelledWait()) return kWaitRefused;
  DebugLog(W("hkd04a7 - rpcserver - WaitEventAsync 2\n"));
  SetPending(asyncState, record);
  if (!queue.IsEmpty()) {
    DebugLog(W("hkd04a7 - rpcserver - WaitEventAsync 3\n"));
    const Hkd04a7Rpc_EventRecord oldest = queue.Take();
    Complete(NO_ERROR, &oldest);
    return NO_ERROR;
  }
  DebugLog(W("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  return kWaitPending;
}

DWORD CRpcEventNotify::NotifyCore(const Hkd04a7Rpc_EventRecord& record) {
  DebugLog(W("hkd04a7 - rpcserver - notify -core 1\n"));
  const MutexLock hold(lock);
  if (pendingAsync == nullptr) {
    DebugLog(W("hkd04a7 - rpcserver - notify -core 2\n"));
    queue.Push(record);
    return 1;
  }
  if (queue.IsEmpty()) {
    DebugLog(W("hkd04a7 - rpcserver - notify -core 3\n"));
    Complete(NO_ERROR, &record);
    return 0;
  }
  DebugLog(W("hkd04a7 - rpcserver - notify -core 4\n"));
  // Growing may fail, taking cannot: in this order nothing is lost.
  queue.Push(record);
  const Hkd04a7Rpc_EventRecord oldest = queue.Take();
  Complete(NO_ERROR, &oldest);
  return 0;
}

std::size_t CRpcEventNotify::QueuedEvents() {
  const MutexLock hold(lock);
  return queue.Size();
}

DWORD CRpcEventNotify::CancelWait() {
  const MutexLock hold(lock);
  return CancelPending();
}

void CRpcEventNotify::CancelAndNotAcceptWait() {
  const MutexLock hold(lock);
  acceptingWaits = false;
  CancelPending();
}

DWORD CRpcEventNotify::CancelPending() {
  if (pendingAsync == nullptr) return 1;
  switch (TestPendingCancel()) {
    case RPC_S_OK:
      Complete(kWaitCancelledByClient, nullptr);
      return 0;
    case RPC_S_CALL_IN_PROGRESS:
      Complete(kWaitCancelled, nullptr);
      return 0;
    default:
      SetPending(nullptr, nullptr);
      return 1;
  }
}

void CRpcEventNotify::Complete(DWORD result, const Hkd04a7Rpc_EventRecord* record) {
  DebugLog(W("hkd04a7 - rpcserver - complete\n"));
  if (pendingAsync == nullptr) return;
  const PRPC_ASYNC_STATE call = std::exchange(pendingAsync, nullptr);
  Hkd04a7Rpc_EventRecord* const target = std::exchange(pendingRecord, nullptr);
  if (target != nullptr) {
    if (record != nullptr) {
      *target = *record;
    } else {
      target->eventId = 0;
    }
  }
  DebugLog(W("hkd04a7 - rpcserver - complete call\n"));
  const RPC_STATUS status = RpcAsyncCompleteCall(call, &result);
  DebugLog(W("hkd04a7 - rpcserver - complete ret=0x%08x\n"), status);
}

RPC_STATUS CRpcEventNotify::TestPendingCancel() {
  return RpcServerTestCancel(RpcAsyncGetCallHandle(pendingAsync));
}

void CRpcEventNotify::SetPending(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* record) {
  pendingAsync = asyncState;
  pendingRecord = record;
}

bool CRpcEventNotify::GiveUpCancelledWait() {
  if (pendingAsync == nullptr) return true;
  switch (TestPendingCancel()) {
    case RPC_S_CALL_IN_PROGRESS:
      return false;
    case RPC_S_OK:
      Complete(kWaitCancelled, nullptr);
      return true;
    default:
      // The runtime does not know the call any more: there is nobody to complete it for.
      SetPending(nullptr, nullptr);
      return true;
  }
}

}  // namespace Quorvex::PC::Hkd04a7::Service
