// Procedures 3, 4 and 5 of the interface and the rundown of a subscription handle. They run on the RPC runtime's
// threads, any number at once, several on one handle included.
#include <memory>
#include <new>

#include "platform/errors.h"
#include "platform/rpc_interface.h"
#include "platform/thread_pool.h"
#include "rpc/event_notify_list.h"
#include "rpc/live_blocks.h"
#include "service/debug_log.h"

using namespace Quorvex::PC::Hkd04a7;
using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

// The value behind a subscription handle.
struct RpcEventNotifyContext {
  CRpcEventNotify* target;
};

// Never destroyed: calls may still come in while the process ends.
auto& g_subscriptionBlocks = *new LiveBlocks<RpcEventNotifyContext, CRpcEventNotify>;

// Deletion has a thread of its own: it completes a wait that may belong to the very call chain that asked for it.
void CALLBACK DeleteCRpcEventNotifySimpleCallback(PTP_CALLBACK_INSTANCE, PVOID context) {
  auto* subscription = static_cast<CRpcEventNotify*>(context);
  if (subscription == nullptr) return;
  subscription->CancelWait();
  RemoveFromRpcEventNotifyList(subscription);
}

// The handle's part of destroy and rundown. False when `handle` is no live block.
bool DetachSubscription(Hkd04a7Rpc_EventNotifyHandle handle) {
  // The list keeps it until the deletion, which belongs to the pool's thread: no reference is held here meanwhile.
  CRpcEventNotify* subscription = g_subscriptionBlocks.Take(handle).get();
  if (subscription == nullptr) return false;
  if (!TrySubmitThreadpoolCallback(&DeleteCRpcEventNotifySimpleCallback, subscription, nullptr)) {
    DebugLog(W("Failed to start DeleteCRpcEventNotifySimpleCallback()"));
  }
  return true;
}

// A new subscription and its block, in the list; null when memory is short.
RpcEventNotifyContext* CreateSubscription() {
  try {
    auto subscription = std::make_shared<CRpcEventNotify>();
    RpcEventNotifyContext* block = g_subscriptionBlocks.Make(subscription);
    if (block == nullptr) return nullptr;
    try {
      AddToRpcEventNotifyList(subscription);
    } catch (const std::bad_alloc&) {
      g_subscriptionBlocks.Take(block);
      return nullptr;
    }
    return block;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void AbortWait(PRPC_ASYNC_STATE asyncState, DWORD code) {
  const RPC_STATUS status = RpcAsyncAbortCall(asyncState, code);
  if (status != RPC_S_OK) DebugLog(W("RpcAsyncAbortCall() failed, status=0x%08x"), status);
}

}  // namespace

HRESULT Hkd04a7Rpc_EventNotify_Create(handle_t, Hkd04a7Rpc_EventNotifyHandle* subscription) {
  DebugLog(W("hkd04a7 - rpcserver - create\n"));
  RpcEventNotifyContext* block = CreateSubscription();
  if (block == nullptr) return E_OUTOFMEMORY;
  *subscription = block;
  return S_OK;
}

HRESULT Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  DebugLog(W("hkd04a7 - rpcserver - destroy\n"));
  if (subscription == nullptr || !DetachSubscription(*subscription)) return S_FALSE;
  *subscription = nullptr;
  return S_OK;
}

void Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventNotifyHandle handle,
                                           Hkd04a7Rpc_EventRecord* event) {
  DebugLog(W("hkd04a7 - rpcserver - waitasync\n"));
  const std::shared_ptr<CRpcEventNotify> subscription = g_subscriptionBlocks.Find(handle);
  if (subscription == nullptr) return AbortWait(asyncState, ERROR_INVALID_PARAMETER);
  if (subscription->WaitEventAsync(asyncState, event) == kWaitRefused) AbortWait(asyncState, kWaitRefused);
}

void __RPC_USER Hkd04a7Rpc_EventNotifyHandle_rundown(Hkd04a7Rpc_EventNotifyHandle subscription) {
  DebugLog(W("hkd04a7 - rpcserver - rundown\n"));
  DebugLog(W("hkd04a7 - rpcserver - destroy\n"));
  DetachSubscription(subscription);
}
