// One subscription: a queue of events and at most one asynchronous wait.
#pragma once

#include <cstddef>

#include "common/mutex.h"
#include "platform/errors.h"
#include "platform/rpc.h"
#include "platform/rpc_interface.h"
#include "rpc/event_queue.h"

namespace Quorvex::PC::Hkd04a7::Service {

// What a wait can come to.
inline constexpr DWORD kWaitPending = 0x800703E5;      // left pending
inline constexpr DWORD kWaitRefused = 0x800706FF;      // another wait is in progress
inline constexpr DWORD kWaitCancelled = 0x800704C7;    // cancelled by the service
inline constexpr DWORD kWaitNotAccepted = 0x80070015;  // the service is stopping
inline constexpr DWORD kWaitCancelledByClient = 1;     // cancelled by the service, its client had done so before

// Callable from every thread. A subscription lives as long as somebody holds it: the list of subscriptions, or a call
// that runs on its handle. Asynchronous calls are completed with its lock held; completing never comes back here. Where
// the list's lock is needed too, it is taken first.
class CRpcEventNotify {
 public:
  CRpcEventNotify() = default;
  CRpcEventNotify(const CRpcEventNotify&) = delete;
  CRpcEventNotify& operator=(const CRpcEventNotify&) = delete;
  // Completes a wait that was left pending by a call which outlived the deletion.
  ~CRpcEventNotify();

  // Takes over a call of the wait procedure. 0: it has been completed. kWaitPending: it will be, by an event, a
  // cancellation, the stop or the subscription's end. kWaitRefused: it is left to the caller.
  DWORD WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* record) HKD_EXCLUDES(lock);

  // Hands an event to the pending wait (0) or to the queue (1). Throws std::bad_alloc when the queue cannot grow; the
  // subscription is then as it was.
  DWORD NotifyCore(const Hkd04a7Rpc_EventRecord& record) HKD_EXCLUDES(lock);

  // How many events wait to be asked for.
  std::size_t QueuedEvents() HKD_EXCLUDES(lock);

  // Ends the pending wait: 0 when one was completed, 1 when there was none or it was dropped.
  DWORD CancelWait() HKD_EXCLUDES(lock);

  // Ends the pending wait, and from now on completes every wait at once with kWaitNotAccepted; events are still queued.
  // No wait comes in between: it would take the pending one's place, and nobody would complete that one.
  void CancelAndNotAcceptWait() HKD_EXCLUDES(lock);

 private:
  // Completes the pending wait, if any, with `result` and `record` (null: event identifier 0).
  void Complete(DWORD result, const Hkd04a7Rpc_EventRecord* record) HKD_REQUIRES(lock);
  // RPC_S_OK when the pending wait's client has cancelled it, RPC_S_CALL_IN_PROGRESS when not.
  RPC_STATUS TestPendingCancel() HKD_REQUIRES(lock);
  void SetPending(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* record) HKD_REQUIRES(lock);
  // CancelWait, for those who hold the lock.
  DWORD CancelPending() HKD_REQUIRES(lock);
  // Makes room for a new wait. False when another one is in progress.
  bool GiveUpCancelledWait() HKD_REQUIRES(lock);

  Common::Mutex lock;
  bool acceptingWaits HKD_GUARDED_BY(lock) = true;
  EventQueue queue HKD_GUARDED_BY(lock);
  PRPC_ASYNC_STATE pendingAsync HKD_GUARDED_BY(lock) = nullptr;
  Hkd04a7Rpc_EventRecord* pendingRecord HKD_GUARDED_BY(lock) = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
