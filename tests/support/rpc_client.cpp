#include "tests/support/rpc_client.h"

#include <gtest/gtest.h>

#include "common/handles.h"
#include "platform/host/rpc/client_identity.h"
#include "platform/rpc_client.h"
#include "platform/sync.h"

namespace support {
namespace {

constexpr DWORD kTenSeconds = 10000;

DWORD Outcome(RPC_STATUS status, HRESULT result) {
  return static_cast<DWORD>(status != RPC_S_OK ? status : result);
}

handle_t MakeBinding() {
  WCHAR text[] = W("ncalrpc:[Hkd04a7RpcEndpoint]");
  handle_t binding = nullptr;
  EXPECT_EQ(RpcBindingFromStringBindingW(reinterpret_cast<RPC_WSTR>(text), &binding), RPC_S_OK);
  return binding;
}

}  // namespace

std::string WaitResult::Text() const {
  if (status != RPC_S_OK) return "rpc " + std::to_string(status);
  char text[64];
  std::snprintf(text, sizeof text, "%x (%u, %x, %x)", result, record.eventId, record.data1, record.data2);
  return text;
}

struct Wait::State {
  RPC_ASYNC_STATE async{};
  Quorvex::PC::Common::UniqueHandle done{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  Hkd04a7Rpc_EventRecord record{0xEEEEEEEE, 0xEEEEEEEE, 0xEEEEEEEE};
  RPC_STATUS started = RPC_S_OK;
  bool finished = false;
};

Wait::Wait(Hkd04a7Rpc_EventNotifyHandle subscription) : state_(std::make_unique<State>()) {
  State& state = *state_;
  EXPECT_EQ(RpcAsyncInitializeHandle(&state.async, sizeof(state.async)), RPC_S_OK);
  state.async.NotificationType = RpcNotificationTypeEvent;
  state.async.u.hEvent = state.done.Get();
  state.started = CatchRpcException(
      [&] { Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&state.async, subscription, &state.record); });
}

Wait::~Wait() {
  if (state_->finished || state_->started != RPC_S_OK) return;
  RpcAsyncCancelCall(&state_->async, TRUE);
  Finish();
}

WaitResult Wait::Finish() {
  State& state = *state_;
  if (state.started != RPC_S_OK) return {state.started, 0, state.record};
  if (WaitForSingleObject(state.done.Get(), kTenSeconds) != WAIT_OBJECT_0)
    return {RPC_S_CALL_IN_PROGRESS, 0, state.record};
  DWORD result = 0;
  const RPC_STATUS status = RpcAsyncCompleteCall(&state.async, &result);
  state.finished = true;
  return {status, result, state.record};
}

void Wait::Cancel() {
  EXPECT_EQ(RpcAsyncCancelCall(&state_->async, FALSE), RPC_S_OK);
}

bool Wait::IsOutstanding() {
  return WaitForSingleObject(state_->done.Get(), 0) == WAIT_TIMEOUT;
}

RpcClient::RpcClient() : binding_(MakeBinding()) {}

RpcClient::RpcClient(const host::TokenFacts& caller) {
  const host::rpc::ClientIdentityScope scope(caller);
  binding_ = MakeBinding();
}

RpcClient::~RpcClient() {
  if (subscription_ != nullptr) Destroy();
  Vanish();
}

DWORD RpcClient::Create() {
  HRESULT result = 0;
  const RPC_STATUS status =
      CatchRpcException([&] { result = Client_Hkd04a7Rpc_EventNotify_Create(binding_, &subscription_); });
  return Outcome(status, result);
}

DWORD RpcClient::Destroy() {
  HRESULT result = 0;
  const RPC_STATUS status = CatchRpcException([&] { result = Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription_); });
  return Outcome(status, result);
}

void RpcClient::Vanish() {
  if (subscription_ != nullptr) RpcSsDestroyClientContext(&subscription_);
  if (binding_ != nullptr) RpcBindingFree(&binding_);
}

}  // namespace support
