#include "client/event_subscription.h"

#include <utility>

#include "platform/rpc_client.h"

namespace client {
namespace {

constexpr const char* kCreate = "Hkd04a7Rpc_EventNotify_Create";
constexpr const char* kWait = "Hkd04a7Rpc_EventNotify_WaitEventAsync";
constexpr std::chrono::seconds kPatience{5};  // for a service that does not end the wait of a destroyed subscription

}  // namespace

EventSubscription::EventSubscription(Connection& connection) : connection_(connection) {}

EventSubscription::~EventSubscription() {
  if (!started_) return;
  Cancel();
  AwaitEnd();
  if (handle_ != nullptr) RpcSsDestroyClientContext(&handle_);
}

Status EventSubscription::Start(EventCallback onEvent) {
  onEvent_ = std::move(onEvent);
  Status status{kCreate};
  status.rpc =
      CatchRpcException([&] { status.result = Client_Hkd04a7Rpc_EventNotify_Create(connection_.Binding(), &handle_); });
  if (!status.Ok()) return status;
  started_ = true;
  return MakeWait() ? status : End();
}

EventSubscription::Outcome EventSubscription::Next(std::chrono::milliseconds timeout, Event* event) {
  std::unique_lock guard(lock_);
  changed_.wait_for(guard, timeout, [this] { return !queue_.empty() || ended_; });
  if (queue_.empty()) return ended_ ? Outcome::Ended : Outcome::TimedOut;
  *event = queue_.front();
  queue_.pop_front();
  return Outcome::Event;
}

void EventSubscription::Cancel() {
  std::unique_lock guard(lock_);
  if (std::exchange(cancelling_, true)) return;
  changed_.wait(guard, [this] { return making_ == 0; });
  guard.unlock();
  if (handle_ == nullptr) return;
  // Without an answer there is nothing more to do: the service runs the handle down with the connection.
  CatchRpcException([this] { Client_Hkd04a7Rpc_EventNotify_Destroy(&handle_); });
}

Status EventSubscription::End() const {
  std::lock_guard guard(lock_);
  return end_;
}

// Makes one wait. Fills call_ before the runtime owns it.
RPC_STATUS EventSubscription::StartWaitCall() {
  RPC_STATUS status = RpcAsyncInitializeHandle(&call_, sizeof call_);
  if (status != RPC_S_OK) return status;
  call_.UserInfo = this;
  call_.NotificationType = RpcNotificationTypeCallback;
  call_.u.NotificationRoutine = &EventSubscription::WaitDone;
  return CatchRpcException([this] { Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&call_, handle_, &record_); });
}

bool EventSubscription::BeginMaking() {
  std::lock_guard guard(lock_);
  if (!cancelling_) ++making_;
  return !cancelling_;
}

// False when no wait could be made: the subscription has then ended.
bool EventSubscription::MakeWait() {
  if (!BeginMaking()) {
    EndWith({kWait, RPC_S_CALL_CANCELLED});
    return false;
  }
  const RPC_STATUS status = StartWaitCall();
  std::lock_guard guard(lock_);
  --making_;
  if (status != RPC_S_OK) end_ = {kWait, status};
  ended_ = ended_ || status != RPC_S_OK;
  changed_.notify_all();
  return status == RPC_S_OK;
}

void EventSubscription::WaitDone(RPC_ASYNC_STATE* state, void*, RPC_ASYNC_EVENT) {
  static_cast<EventSubscription*>(state->UserInfo)->FinishWait();
}

void EventSubscription::FinishWait() {
  const auto arrived = std::chrono::steady_clock::now();
  Status status{kWait};
  status.rpc = RpcAsyncCompleteCall(&call_, &status.result);
  if (!status.Ok()) return EndWith(status);
  // A record without an identifier carries no event.
  if (record_.eventId != 0) Deliver({record_.eventId, record_.data1, record_.data2, arrived});
  MakeWait();
}

void EventSubscription::Deliver(const Event& event) {
  if (onEvent_) return onEvent_(event);
  std::lock_guard guard(lock_);
  queue_.push_back(event);
  changed_.notify_all();
}

void EventSubscription::EndWith(const Status& status) {
  std::lock_guard guard(lock_);
  end_ = status;
  ended_ = true;
  changed_.notify_all();
}

// Afterwards no thread of the runtime is inside this object.
void EventSubscription::AwaitEnd() {
  auto over = [this] { return ended_ && making_ == 0; };
  std::unique_lock guard(lock_);
  if (changed_.wait_for(guard, kPatience, over)) return;
  guard.unlock();
  RpcAsyncCancelCall(&call_, TRUE);
  guard.lock();
  changed_.wait(guard, over);
}

}  // namespace client
