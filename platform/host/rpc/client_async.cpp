// Asynchronous calls on the client: what RPC_ASYNC_STATE::RuntimeInfo points to, and how the caller is told of the end.
#include <utility>

#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/sync.h"
#include "platform/host/rpc/async_call.h"
#include "platform/host/rpc/client_invocation.h"
#include "platform/host/rpc/rpc_calls.h"

namespace host::rpc {

namespace {

// What to do when the call has ended. Taken from the state when the call starts: the caller may use the state for its
// next call as soon as it knows of the end.
std::function<void()> NotificationFor(PRPC_ASYNC_STATE asyncState) {
  switch (asyncState->NotificationType) {
    case RpcNotificationTypeNone:
      return {};
    case RpcNotificationTypeEvent:
      return [event = asyncState->u.hEvent] { SetEvent(event); };
    case RpcNotificationTypeCallback:
      return
          [asyncState, routine = asyncState->u.NotificationRoutine] { routine(asyncState, nullptr, RpcCallComplete); };
    default:
      host::Unsupported("asynchronous client stub", "NotificationType");
  }
}

class AsyncClientCall final : public AsyncCall {
 public:
  AsyncClientCall(Invocation invocation, std::function<void()> notification)
      : invocation_(std::move(invocation)), call_(std::make_shared<ClientCall>(std::move(notification))) {}

  RPC_STATUS Start() { return invocation_.Start(call_); }

  RPC_STATUS Complete(PRPC_ASYNC_STATE asyncState, void* reply) override {
    RPC_STATUS status = call_->Status();
    if (status == RPC_S_CALL_IN_PROGRESS) return status;
    if (status == RPC_S_OK) status = invocation_.Deliver(*call_, static_cast<HRESULT*>(reply));
    asyncState->RuntimeInfo = nullptr;
    delete this;
    return status;
  }

  RPC_STATUS Cancel(PRPC_ASYNC_STATE, bool abort) override {
    // Held here, since an abort lets the caller complete the call.
    const std::shared_ptr<ClientCall> call = call_;
    call->Cancel(abort);
    return RPC_S_OK;
  }

  RPC_STATUS Status() override { return call_->Status(); }

 private:
  Invocation invocation_;
  const std::shared_ptr<ClientCall> call_;
};

}  // namespace

void InvokeAsync(PRPC_ASYNC_STATE asyncState, Invocation invocation) {
  if (asyncState == nullptr || asyncState->Size != sizeof(RPC_ASYNC_STATE)) {
    RpcRaiseException(RPC_S_INVALID_ASYNC_HANDLE);
  }
  asyncState->Event = RpcCallComplete;
  auto* call = new AsyncClientCall(std::move(invocation), NotificationFor(asyncState));
  asyncState->RuntimeInfo = static_cast<AsyncCall*>(call);
  // Once started, the call may be complete, and `call` gone, before Start returns here.
  const RPC_STATUS status = call->Start();
  if (status == RPC_S_OK) return;
  asyncState->RuntimeInfo = nullptr;
  delete call;
  RpcRaiseException(status);
}

}  // namespace host::rpc
