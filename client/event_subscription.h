// A subscription to the service's events that keeps one wait outstanding and loses nothing it was given.
//
// Every event that a wait brings is queued here (or handed to the callback) before the next wait is made, in the
// service's order. Waits are made on the RPC runtime's thread, so events arrive at full speed whether or not the owner
// is looking. When a wait ends without an event the subscription has ended; Next first hands out what is queued.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "client/connection.h"
#include "client/status.h"
#include "platform/rpc_interface.h"

namespace client {

struct Event {
  DWORD id = 0;
  DWORD data1 = 0;
  DWORD data2 = 0;
  std::chrono::steady_clock::time_point arrived;  // when the wait's reply was seen by this process
};

class EventSubscription {
 public:
  enum class Outcome { Event, TimedOut, Ended };
  // Runs on the runtime's thread, one call at a time; must not call into this object and should be quick.
  using EventCallback = std::function<void(const Event&)>;

  // `connection` is open and outlives this object.
  explicit EventSubscription(Connection& connection);
  // Cancels, then waits until no wait is outstanding.
  ~EventSubscription();
  EventSubscription(const EventSubscription&) = delete;
  EventSubscription& operator=(const EventSubscription&) = delete;

  // Creates the subscription and makes the first wait; on success every event from now on arrives. With `onEvent` the
  // events go there, else to Next. Call it once.
  Status Start(EventCallback onEvent = nullptr);

  // The next event, oldest first, waiting up to `timeout` for it. TimedOut, or Ended once the subscription has ended
  // and its queue is empty; `event` is written for Event only. Any thread, several too; each event is handed out once.
  Outcome Next(std::chrono::milliseconds timeout, Event* event);

  // Ends the subscription at the service; the pending wait ends with it, and so do all calls of Next. Blocks for one
  // call to the service. Harmless when it has ended already. Not from a callback.
  void Cancel();

  // Why it ended: the answer of the wait (or of the attempt to make one) that brought no event. After Cancel that is
  // the service's own 0x800704C7, or RPC_S_CALL_CANCELLED where no wait was outstanding. Success while it has not
  // ended.
  Status End() const;

 private:
  static void WaitDone(RPC_ASYNC_STATE* state, void* context, RPC_ASYNC_EVENT event);
  void FinishWait();
  void Deliver(const Event& event);
  bool MakeWait();
  bool BeginMaking();
  RPC_STATUS StartWaitCall();
  void EndWith(const Status& status);
  void AwaitEnd();

  Connection& connection_;
  EventCallback onEvent_;
  Hkd04a7Rpc_EventNotifyHandle handle_ = nullptr;  // changed only while no wait can be made

  // The outstanding wait; the runtime's from StartWaitCall until its notification.
  RPC_ASYNC_STATE call_{};
  Hkd04a7Rpc_EventRecord record_{};

  mutable std::mutex lock_;  // guards what follows; never held across a call to the runtime
  std::condition_variable changed_;
  std::deque<Event> queue_;
  Status end_;
  bool started_ = false;
  bool ended_ = false;
  bool cancelling_ = false;  // no further wait is made
  int making_ = 0;           // threads that are making a wait; the next may begin before the last has returned
};

}  // namespace client
