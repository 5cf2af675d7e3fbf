// The client runtime and both sides' stubs over our own server.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "machine/machine.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/kernel/close_handle.h"
#include "platform/host/kernel/sync.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/rpc/client_handshake.h"
#include "platform/host/rpc/server_status.h"
#include "platform/rpc_client.h"
#include "tests/rpc/interface_server.h"
#include "tests/rpc/server_fixture.h"

namespace {

using testing::ElementsAre;

class ClientTest : public InterfaceFixture {
 protected:
  Hkd04a7Rpc_EventNotifyHandle Subscribe(RPC_BINDING_HANDLE binding) {
    Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
    EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Create(binding, &subscription), 0);
    EXPECT_NE(subscription, nullptr);
    return subscription;
  }

  bool WaitsArrive(std::size_t count) {
    return Eventually([&] { return server_.WaitingCount() == count; });
  }
};

// One asynchronous wait, with everything the runtime writes to.
struct Wait {
  explicit Wait(RPC_NOTIFICATION_TYPES type = RpcNotificationTypeNone) {
    RpcAsyncInitializeHandle(&state, sizeof(state));
    state.NotificationType = type;
  }
  RPC_STATUS Start(Hkd04a7Rpc_EventNotifyHandle subscription) {
    return CatchRpcException([&] { Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&state, subscription, &record); });
  }
  bool Ended() {
    return Eventually([this] { return RpcAsyncGetCallStatus(&state) != RPC_S_CALL_IN_PROGRESS; });
  }
  RPC_STATUS Complete() { return RpcAsyncCompleteCall(&state, &result); }

  RPC_ASYNC_STATE state;
  Hkd04a7Rpc_EventRecord record{};
  HRESULT result = -1;
};

TEST_F(ClientTest, EveryProcedureInEverySyntax) {
  const struct {
    bool ndr;
    bool ndr64;
  } offers[] = {{true, false}, {false, true}, {true, true}};
  for (const auto& offer : offers) {
    SCOPED_TRACE(testing::Message() << offer.ndr << offer.ndr64);
    host::rpc::OfferTransferSyntaxes(offer.ndr, offer.ndr64);
    server_.notes.clear();
    const RPC_BINDING_HANDLE binding = Bind();
    Hkd04a7Rpc_DeviceHandle device = nullptr;
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_Create(binding, &device), 0);
    DWORD value = 0;
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_CallFuncMethod(device, 0x1000, 1, 2, 0xFFFFFFFF, &value), 0);
    EXPECT_EQ(value, 0x40000401u);
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_GetWakeupStatus(device, 2, &value), 0);
    EXPECT_EQ(value, 0x300u);
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_Close(&device), 0);
    EXPECT_EQ(device, nullptr);

    auto subscription = Subscribe(binding);
    Wait wait;
    ASSERT_EQ(wait.Start(subscription), RPC_S_OK);
    ASSERT_TRUE(WaitsArrive(1));
    EXPECT_EQ(wait.Complete(), RPC_S_CALL_IN_PROGRESS);
    EXPECT_EQ(server_.CompleteWait({3, 4, 0x80000005}), RPC_S_OK);
    ASSERT_TRUE(wait.Ended());
    EXPECT_EQ(wait.Complete(), RPC_S_OK);
    EXPECT_EQ(wait.result, 0);
    EXPECT_EQ(std::tuple(wait.record.eventId, wait.record.data1, wait.record.data2), std::tuple(3u, 4u, 0x80000005u));
    EXPECT_EQ(wait.Complete(), RPC_S_INVALID_ASYNC_HANDLE);
    EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription), 0);
    EXPECT_EQ(subscription, nullptr);

    EXPECT_EQ(Client_Hkd04a7Rpc_RegisterAppServiceForNotification(binding, u"Quorvex.App_1", u"", 1, 37, 5),
              static_cast<HRESULT>(0x80070057));
    EXPECT_EQ(Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(binding, u"\u00e9\U0001F600", 0, 1, 2), 1);
    EXPECT_EQ(CatchRpcException([&] { Client_Hkd04a7Rpc_RunFileAsSystem(binding, 1, u"run", u"a b", &value); }),
              RPC_S_PROCNUM_OUT_OF_RANGE);
    EXPECT_THAT(server_.Notes(),
                ElementsAre("Device_Create", "Device_CallFuncMethod device 4096 1 2 4294967295",
                            "Device_GetWakeupStatus device 2", "Device_Close device", "EventNotify_Create",
                            "EventNotify_WaitEventAsync subscription", "EventNotify_Destroy subscription",
                            "RegisterAppService 'Quorvex.App_1' '' 1 37 5",
                            "UnregisterAppService '\u00e9\U0001F600' 0 1 2", "RunFileAsSystem 1 'run' 'a b'"));
  }
}

TEST_F(ClientTest, StringBindings) {
  const struct {
    std::u16string text;
    RPC_STATUS status;
  } cases[] = {
      {u"ncalrpc:[Hkd04a7RpcEndpoint]", RPC_S_OK},
      {u"ncalrpc:", RPC_S_OK},
      {u"ncalrpc:[]", RPC_S_OK},
      {u"", RPC_S_INVALID_STRING_BINDING},
      {u"ncalrpc", RPC_S_INVALID_STRING_BINDING},
      {u":[Name]", RPC_S_INVALID_STRING_BINDING},
      {u"ncalrpc:[Name", RPC_S_INVALID_STRING_BINDING},
      {u"ncacn_np:[Name]", RPC_S_PROTSEQ_NOT_SUPPORTED},
      {u"ncalrpc:[../control]", RPC_S_INVALID_ENDPOINT_FORMAT},
  };
  for (const auto& testCase : cases) {
    std::u16string text = testCase.text;
    RPC_BINDING_HANDLE binding = nullptr;
    EXPECT_EQ(RpcBindingFromStringBindingW(text.data(), &binding), testCase.status) << testing::PrintToString(text);
    if (binding != nullptr) RpcBindingFree(&binding);
    EXPECT_EQ(binding, nullptr);
  }
}

TEST_F(ClientTest, NothingIsSentForMissingArguments) {
  const RPC_BINDING_HANDLE binding = Bind();
  Hkd04a7Rpc_DeviceHandle device = nullptr;
  DWORD value = 0;
  const auto failure = [](auto call) { return CatchRpcException(call); };
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_Device_Create(nullptr, &device); }), RPC_S_INVALID_BINDING);
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_Device_Create(binding, nullptr); }), RPC_X_NULL_REF_POINTER);
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_Device_Close(&device); }), RPC_X_SS_IN_NULL_CONTEXT);
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_Device_Close(nullptr); }), RPC_X_NULL_REF_POINTER);
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_Device_GetWakeupStatus(device, 1, &value); }), RPC_X_SS_IN_NULL_CONTEXT);
  EXPECT_EQ(failure([&] { Client_Hkd04a7Rpc_RunFileAsSystem(binding, 1, nullptr, u"", &value); }),
            RPC_X_NULL_REF_POINTER);
  Wait wait;
  EXPECT_EQ(wait.Start(nullptr), RPC_X_SS_IN_NULL_CONTEXT);
  EXPECT_EQ(wait.Complete(), RPC_S_INVALID_ASYNC_HANDLE);
  EXPECT_THAT(server_.Notes(), ElementsAre());
}

TEST_F(ClientTest, WithoutAServer) {
  Hkd04a7Rpc_DeviceHandle device = nullptr;
  const RPC_BINDING_HANDLE binding = Bind(u"NobodyListensHere");
  EXPECT_EQ(CatchRpcException([&] { Client_Hkd04a7Rpc_Device_Create(binding, &device); }), RPC_S_SERVER_UNAVAILABLE);
}

TEST_F(ClientTest, AnEndpointFromTheEndpointMap) {
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  machine::Machine machine(std::move(options));
  std::string error;
  ASSERT_TRUE(machine.Start(&error)) << error;
  host::rpc::CloseServerEndpoints();  // booting has cleared the socket away
  WCHAR protocol[] = u"ncalrpc";
  WCHAR endpoint[] = u"Hkd04a7RpcEndpoint";
  ASSERT_EQ(RpcServerUseProtseqEpW(protocol, 10, endpoint, nullptr), RPC_S_OK);
  const RPC_BINDING_HANDLE binding = Bind(u"");
  const auto unregister = [&] { Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(binding, u"", 1, 2, 3); };

  EXPECT_EQ(CatchRpcException(unregister), EPT_S_NOT_REGISTERED);
  RPC_BINDING_VECTOR* bindings = nullptr;
  ASSERT_EQ(RpcServerInqBindings(&bindings), RPC_S_OK);
  ASSERT_EQ(RpcEpRegisterW(Hkd04a7Rpc_v1_0_s_ifspec, bindings, nullptr, nullptr), RPC_S_OK);
  EXPECT_EQ(CatchRpcException(unregister), RPC_S_OK);
  EXPECT_EQ(RpcEpUnregister(Hkd04a7Rpc_v1_0_s_ifspec, bindings, nullptr), RPC_S_OK);
  EXPECT_EQ(RpcBindingVectorFree(&bindings), RPC_S_OK);
  EXPECT_EQ(CatchRpcException(unregister), RPC_S_OK);  // it has its connection
  host::MachineLink::Reset();
}

TEST_F(ClientTest, TheEndOfAnAsynchronousCallIsTold) {
  auto subscription = Subscribe(Bind());
  Wait byEvent(RpcNotificationTypeEvent);
  byEvent.state.u.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(byEvent.Start(subscription), RPC_S_OK);
  ASSERT_TRUE(WaitsArrive(1));
  server_.CompleteWait({1, 0, 0});
  EXPECT_EQ(WaitForSingleObject(byEvent.state.u.hEvent, 10000), 0u);
  EXPECT_EQ(byEvent.Complete(), RPC_S_OK);
  CloseHandle(byEvent.state.u.hEvent);

  // Completes in the notification routine and makes the next call there, one that waits too.
  struct Chain {
    Wait wait{RpcNotificationTypeCallback};
    Hkd04a7Rpc_EventNotifyHandle subscription;
    RPC_BINDING_HANDLE binding;
    std::atomic<bool> done{false};
  } chain;
  chain.subscription = subscription;
  chain.binding = Bind();
  chain.wait.state.UserInfo = &chain;
  chain.wait.state.u.NotificationRoutine = [](RPC_ASYNC_STATE* state, void*, RPC_ASYNC_EVENT event) {
    auto& self = *static_cast<Chain*>(state->UserInfo);
    EXPECT_EQ(event, RpcCallComplete);
    EXPECT_EQ(self.wait.Complete(), RPC_S_OK);
    EXPECT_EQ(self.wait.record.eventId, 2u);
    Hkd04a7Rpc_DeviceHandle device = nullptr;
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_Create(self.binding, &device), 0);
    EXPECT_EQ(Client_Hkd04a7Rpc_Device_Close(&device), 0);
    EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&self.subscription), 0);
    self.done = true;
  };
  ASSERT_EQ(chain.wait.Start(subscription), RPC_S_OK);
  ASSERT_TRUE(WaitsArrive(1));
  server_.CompleteWait({2, 0, 0});
  EXPECT_TRUE(Eventually([&] { return chain.done.load(); }));
}

TEST_F(ClientTest, CallsInFlightAreAnsweredInAnyOrder) {
  auto subscription = Subscribe(Bind());
  std::vector<Wait> waits(5);
  for (std::size_t i = 0; i < waits.size(); ++i) {
    ASSERT_EQ(waits[i].Start(subscription), RPC_S_OK);
    ASSERT_TRUE(WaitsArrive(i + 1));  // so that the n-th is the n-th there
  }
  std::vector<InterfaceServer::Waiting> pending;
  while (server_.WaitingCount() > 0) pending.push_back(server_.TakeWaiting());
  for (std::size_t i = pending.size(); i-- > 0;) {
    *pending[i].record = {static_cast<DWORD>(i + 1), 0, 0};
    HRESULT result = static_cast<HRESULT>(i);
    EXPECT_EQ(RpcAsyncCompleteCall(pending[i].state, &result), RPC_S_OK);
    ASSERT_TRUE(waits[i].Ended());
  }
  for (std::size_t i = 0; i < waits.size(); ++i) {
    EXPECT_EQ(waits[i].Complete(), RPC_S_OK);
    EXPECT_EQ(waits[i].record.eventId, i + 1);
    EXPECT_EQ(waits[i].result, static_cast<HRESULT>(i));
  }
  EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription), 0);
}

TEST_F(ClientTest, AbortCodesComeOutUnchanged) {
  auto subscription = Subscribe(Bind());
  for (const ULONG code : {87u, 0x800706FFu, 1u}) {
    Wait wait;
    ASSERT_EQ(wait.Start(subscription), RPC_S_OK);
    ASSERT_TRUE(WaitsArrive(1));
    EXPECT_EQ(server_.AbortWait(code), RPC_S_OK);
    ASSERT_TRUE(wait.Ended());
    EXPECT_EQ(wait.Complete(), static_cast<RPC_STATUS>(code));
  }
  EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription), 0);
}

TEST_F(ClientTest, CancellingWaitsForTheServerOrDoesNot) {
  auto subscription = Subscribe(Bind());
  for (const bool abort : {false, true}) {
    Wait wait;
    ASSERT_EQ(wait.Start(subscription), RPC_S_OK);
    ASSERT_TRUE(WaitsArrive(1));
    EXPECT_EQ(server_.TestCancel(), RPC_S_CALL_IN_PROGRESS);
    EXPECT_EQ(RpcAsyncCancelCall(&wait.state, abort), RPC_S_OK);
    EXPECT_TRUE(Eventually([&] { return server_.TestCancel() == RPC_S_OK; }));
    if (abort) {
      ASSERT_TRUE(wait.Ended());
      EXPECT_EQ(wait.Complete(), RPC_S_CALL_CANCELLED);
      server_.CompleteWait({1, 0, 0});  // what the server says of it now reaches nobody
    } else {
      EXPECT_EQ(wait.Complete(), RPC_S_CALL_IN_PROGRESS);
      server_.CompleteWait({}, 1);
      ASSERT_TRUE(wait.Ended());
      EXPECT_EQ(wait.Complete(), RPC_S_OK);
      EXPECT_EQ(wait.result, 1);
    }
  }
  EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription), 0);
}

TEST_F(ClientTest, TheConnectionLivesAsLongAsItsContextHandles) {
  RPC_BINDING_HANDLE binding = Bind();
  auto subscription = Subscribe(binding);
  auto other = Subscribe(binding);
  FreeBindings();
  EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&other), 0);
  EXPECT_EQ(host::rpc::ConnectionCount(), 1u);
  RpcSsDestroyClientContext(&subscription);
  EXPECT_EQ(subscription, nullptr);
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
  EXPECT_TRUE(Eventually([&] { return server_.Notes().back() == "EventNotifyHandle_rundown subscription"; }));
}

TEST_F(ClientTest, LongRequestsGoOutInFragments) {
  const std::u16string name(100000, u'n');
  EXPECT_EQ(Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(Bind(), name.c_str(), 1, 2, 3), 1);
  EXPECT_THAT(server_.Notes(), ElementsAre("UnregisterAppService '" + std::string(name.size(), 'n') + "' 1 2 3"));
}

TEST_F(ClientTest, ManyThreadsShareABinding) {
  const RPC_BINDING_HANDLE binding = Bind();
  std::atomic<unsigned> good = 0;
  std::vector<std::thread> threads;
  for (DWORD thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      Hkd04a7Rpc_DeviceHandle device = nullptr;
      for (DWORD i = 0; i < 50; ++i) {
        DWORD result = 0;
        good += Client_Hkd04a7Rpc_Device_Create(binding, &device) == 0;
        good += Client_Hkd04a7Rpc_Device_CallFuncMethod(device, thread, i, 0, 0, &result) == 0 && result == 0x40000401;
        good += Client_Hkd04a7Rpc_Device_Close(&device) == 0;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(good, 8u * 50 * 3);
  EXPECT_EQ(host::rpc::ConnectionCount(), 1u);
}

}  // namespace
