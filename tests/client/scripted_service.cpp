#include "tests/client/scripted_service.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <utility>

#include "platform/host/base/machine_directory.h"

namespace client {
namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr HRESULT kWaitCancelled = static_cast<HRESULT>(0x800704C7);

ScriptedService* instance = nullptr;

}  // namespace

ScriptedService* ScriptedService::Instance() {
  return instance;
}

ScriptedService::ScriptedService() : folder_(testing::TempDir() + "client-XXXXXX") {
  instance = this;
  EXPECT_NE(mkdtemp(folder_.data()), nullptr);
  host::UseMachineDirectory(folder_);
  std::string error;
  EXPECT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
  std::u16string protocolSequence = u"ncalrpc";
  std::u16string endpoint = u"Hkd04a7RpcEndpoint";
  EXPECT_EQ(RpcServerUseProtseqEpW(protocolSequence.data(), 10, endpoint.data(), nullptr), RPC_S_OK);
  EXPECT_EQ(RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr,
                                 RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY, 1234, 0xFFFFFFFF, nullptr, nullptr),
            RPC_S_OK);
}

ScriptedService::~ScriptedService() {
  RpcServerUnregisterIf(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, 1);
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

bool ScriptedService::AwaitWait(std::unique_lock<std::mutex>& guard) {
  changed_.wait_for(guard, kPatience, [this] { return pending_ != nullptr || destroyed_ != 0; });
  return pending_ != nullptr;
}

bool ScriptedService::Complete(HRESULT result, const Hkd04a7Rpc_EventRecord& event) {
  std::unique_lock guard(lock_);
  if (!AwaitWait(guard)) return false;
  *record_ = event;
  return RpcAsyncCompleteCall(std::exchange(pending_, nullptr), &result) == RPC_S_OK;
}

bool ScriptedService::Abort(DWORD code) {
  std::unique_lock guard(lock_);
  return AwaitWait(guard) && RpcAsyncAbortCall(std::exchange(pending_, nullptr), code) == RPC_S_OK;
}

unsigned ScriptedService::Destroyed() {
  std::lock_guard guard(lock_);
  return destroyed_;
}

HRESULT ScriptedService::Create(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  if (createResult_ == 0) *subscription = this;
  return createResult_;
}

HRESULT ScriptedService::Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  std::lock_guard guard(lock_);
  *subscription = nullptr;
  ++destroyed_;
  changed_.notify_all();
  if (pending_ == nullptr || leaveWaits_) return 0;
  record_->eventId = 0;
  HRESULT result = kWaitCancelled;
  RpcAsyncCompleteCall(std::exchange(pending_, nullptr), &result);
  return 0;
}

void ScriptedService::Wait(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventRecord* event) {
  std::lock_guard guard(lock_);
  EXPECT_EQ(pending_, nullptr) << "two waits at once";
  pending_ = asyncState;
  record_ = event;
  changed_.notify_all();
}

}  // namespace client

// The server routines of subscriptions; the others are scripted_procedures.cpp's.
extern "C" {

HRESULT Hkd04a7Rpc_EventNotify_Create(handle_t, Hkd04a7Rpc_EventNotifyHandle* subscription) {
  return client::ScriptedService::Instance()->Create(subscription);
}

HRESULT Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  return client::ScriptedService::Instance()->Destroy(subscription);
}

void Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventNotifyHandle,
                                           Hkd04a7Rpc_EventRecord* event) {
  client::ScriptedService::Instance()->Wait(asyncState, event);
}

void Hkd04a7Rpc_EventNotifyHandle_rundown(Hkd04a7Rpc_EventNotifyHandle) {}

}  // extern "C"
