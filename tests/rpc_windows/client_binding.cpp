#include "tests/rpc_windows/client_binding.h"

#include "common/handles.h"

Binding::Binding(std::wstring endpoint) {
  std::wstring protocolSequence = L"ncalrpc";
  RPC_WSTR composed = nullptr;
  if (RpcStringBindingComposeW(nullptr, RpcText(protocolSequence), nullptr, RpcText(endpoint), nullptr, &composed) !=
      RPC_S_OK) {
    return;
  }
  RpcBindingFromStringBindingW(composed, &handle_);
  RpcStringFreeW(&composed);
}

Binding::~Binding() {
  if (handle_ != nullptr) RpcBindingFree(&handle_);
}

Answer WaitForEvent(Hkd04a7Rpc_EventNotifyHandle subscription, Hkd04a7Rpc_EventRecord* record) {
  const Quorvex::PC::Common::UniqueHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  RPC_ASYNC_STATE state = {};
  if (const RPC_STATUS status = RpcAsyncInitializeHandle(&state, sizeof state); status != RPC_S_OK) return {status, 0};
  state.NotificationType = RpcNotificationTypeEvent;
  state.u.hEvent = done.Get();
  const RPC_STATUS started =
      CatchRpcException([&] { Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&state, subscription, record); });
  if (started != RPC_S_OK) return {started, 0};
  if (WaitForSingleObject(done.Get(), 5000) != WAIT_OBJECT_0) RpcAsyncCancelCall(&state, TRUE);
  HRESULT result = 0;
  const RPC_STATUS status = RpcAsyncCompleteCall(&state, &result);
  return {status, result};
}
