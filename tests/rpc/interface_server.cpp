#include "tests/rpc/interface_server.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/host/rpc/server_status.h"
#include "tests/rpc/server_fixture.h"

namespace {

int deviceBlock;
int subscriptionBlock;

// "name 1 2 3": the arguments as a routine saw them.
template <typename... Arguments>
void NoteCall(const char* name, const Arguments&... arguments) {
  std::ostringstream line;
  line << name;
  ((line << ' ' << arguments), ...);
  InterfaceServer::Instance().Note(line.str());
}

std::string Quoted(const WCHAR* text) {
  return "'" + host::ToUtf8(text) + "'";
}

const char* Named(const void* block) {
  if (block == &deviceBlock) return "device";
  return block == &subscriptionBlock ? "subscription" : "stranger";
}

}  // namespace

InterfaceServer& InterfaceServer::Instance() {
  static InterfaceServer server;
  return server;
}

void InterfaceServer::Note(std::string line) {
  std::lock_guard guard(lock);
  notes.push_back(std::move(line));
}

std::vector<std::string> InterfaceServer::Notes() {
  std::lock_guard guard(lock);
  return notes;
}

std::size_t InterfaceServer::WaitingCount() {
  std::lock_guard guard(lock);
  return waiting.size();
}

InterfaceServer::Waiting InterfaceServer::TakeWaiting() {
  std::lock_guard guard(lock);
  const Waiting oldest = waiting.at(0);
  waiting.erase(waiting.begin());
  return oldest;
}

RPC_STATUS InterfaceServer::CompleteWait(const Hkd04a7Rpc_EventRecord& record, HRESULT result) {
  const Waiting oldest = TakeWaiting();
  *oldest.record = record;
  return RpcAsyncCompleteCall(oldest.state, &result);
}

RPC_STATUS InterfaceServer::AbortWait(ULONG code) {
  return RpcAsyncAbortCall(TakeWaiting().state, code);
}

RPC_STATUS InterfaceServer::TestCancel() {
  std::lock_guard guard(lock);
  return RpcServerTestCancel(RpcAsyncGetCallHandle(waiting.at(0).state));
}

void InterfaceFixture::SetUp() {
  std::string folder = (std::filesystem::temp_directory_path() / "hkd-rpc-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  folder_ = folder;
  host::UseMachineDirectory(folder);
  std::string error;
  ASSERT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
  WCHAR protocol[] = u"ncalrpc";
  WCHAR endpoint[] = u"Hkd04a7RpcEndpoint";
  ASSERT_EQ(RpcServerUseProtseqEpW(protocol, 10, endpoint, nullptr), RPC_S_OK);
  ASSERT_EQ(RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr,
                                 RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY, 1234, 0, nullptr, nullptr),
            RPC_S_OK);
}

void InterfaceFixture::TearDown() {
  FreeBindings();
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
  EXPECT_TRUE(Eventually([] { return host::rpc::ContextHandleCount() == 0; }));
  while (server_.WaitingCount() > 0) server_.CompleteWait({});
  EXPECT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 0; }));
  EXPECT_EQ(RpcServerUnregisterIf(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, TRUE), RPC_S_OK);
  host::rpc::CloseServerEndpoints();
  std::filesystem::remove_all(folder_);
}

RPC_BINDING_HANDLE InterfaceFixture::Bind(const std::u16string& endpoint) {
  WCHAR protocol[] = u"ncalrpc";
  std::u16string name = endpoint;
  RPC_WSTR text = nullptr;
  EXPECT_EQ(RpcStringBindingComposeW(nullptr, protocol, nullptr, name.data(), nullptr, &text), RPC_S_OK);
  RPC_BINDING_HANDLE binding = nullptr;
  EXPECT_EQ(RpcBindingFromStringBindingW(text, &binding), RPC_S_OK);
  EXPECT_EQ(RpcStringFreeW(&text), RPC_S_OK);
  EXPECT_EQ(text, nullptr);
  bindings_.push_back(binding);
  return binding;
}

void InterfaceFixture::FreeBindings() {
  for (RPC_BINDING_HANDLE binding : bindings_) EXPECT_EQ(RpcBindingFree(&binding), RPC_S_OK);
  bindings_.clear();
}

HRESULT Hkd04a7Rpc_Device_Create(handle_t, Hkd04a7Rpc_DeviceHandle* device) {
  NoteCall("Device_Create");
  *device = &deviceBlock;
  return 0;
}

HRESULT Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device) {
  NoteCall("Device_Close", Named(*device));
  *device = nullptr;
  return 0;
}

HRESULT Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle device, DWORD functionCode, DWORD arg1, DWORD arg2,
                                         DWORD arg3, DWORD* result) {
  NoteCall("Device_CallFuncMethod", Named(device), functionCode, arg1, arg2, arg3);
  *result = 0x40000401;
  return 0;
}

HRESULT Hkd04a7Rpc_EventNotify_Create(handle_t, Hkd04a7Rpc_EventNotifyHandle* subscription) {
  NoteCall("EventNotify_Create");
  *subscription = &subscriptionBlock;
  return 0;
}

HRESULT Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  NoteCall("EventNotify_Destroy", Named(*subscription));
  *subscription = nullptr;
  return 0;
}

void Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventNotifyHandle subscription,
                                           Hkd04a7Rpc_EventRecord* event) {
  NoteCall("EventNotify_WaitEventAsync", Named(subscription));
  auto& server = InterfaceServer::Instance();
  std::lock_guard guard(server.lock);
  server.waiting.push_back({asyncState, event});
}

HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName,
                                                     const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                     DWORD data1) {
  NoteCall("RegisterAppService", Quoted(packageFamilyName), Quoted(appServiceName), flags, eventId, data1);
  return static_cast<HRESULT>(0x80070057);
}

HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName, DWORD flags,
                                                       DWORD eventId, DWORD data1) {
  NoteCall("UnregisterAppService", Quoted(packageFamilyName), flags, eventId, data1);
  return 1;
}

HRESULT Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD wakeupKind, DWORD* wakeupInfo) {
  NoteCall("Device_GetWakeupStatus", Named(device), wakeupKind);
  *wakeupInfo = 0x300;
  return 0;
}

HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t, DWORD flags, const WCHAR* command, const WCHAR* par, DWORD*) {
  NoteCall("RunFileAsSystem", flags, Quoted(command), Quoted(par));
  RpcRaiseException(RPC_S_PROCNUM_OUT_OF_RANGE);
}

void Hkd04a7Rpc_DeviceHandle_rundown(Hkd04a7Rpc_DeviceHandle device) {
  NoteCall("DeviceHandle_rundown", Named(device));
}

void Hkd04a7Rpc_EventNotifyHandle_rundown(Hkd04a7Rpc_EventNotifyHandle subscription) {
  NoteCall("EventNotifyHandle_rundown", Named(subscription));
}
