// Endpoints and the flat calls of the server side.
#include <unistd.h>

#include <thread>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/link/unix_socket.h"
#include "platform/host/rpc/server_status.h"
#include "platform/security.h"
#include "tests/rpc/server_fixture.h"

using namespace host::rpc;
using namespace std::chrono_literals;

namespace {

using ServerEndpoints = ServerFixture;

// One that says nothing of who may call must not admit everybody.
TEST_F(ServerEndpoints, DescriptorsWithoutAListAreRefused) {
  char malformed[64] = {9};
  SECURITY_DESCRIPTOR empty{};
  ASSERT_TRUE(InitializeSecurityDescriptor(&empty, SECURITY_DESCRIPTOR_REVISION));
  SECURITY_DESCRIPTOR everybody = empty;
  ASSERT_TRUE(SetSecurityDescriptorDacl(&everybody, TRUE, nullptr, FALSE));
  const struct {
    void* descriptor;
    RPC_STATUS status;
  } cases[] = {{malformed, RPC_S_INVALID_SECURITY_DESC}, {&empty, RPC_S_INVALID_SECURITY_DESC}, {&everybody, RPC_S_OK}};
  ASSERT_EQ(RpcServerUnregisterIf(Handle(kTestInterface), nullptr, TRUE), RPC_S_OK);
  for (const auto& [descriptor, status] : cases) {
    std::u16string protocol = u"ncalrpc";
    std::u16string endpoint = u"Another";
    EXPECT_EQ(RpcServerUseProtseqEpW(protocol.data(), 10, endpoint.data(), descriptor), status);
    EXPECT_EQ(RpcServerRegisterIf3(Handle(kTestInterface), nullptr, nullptr,
                                   RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY, kTestMaxCalls, 0, nullptr, descriptor),
              status);
  }
}

TEST_F(ServerEndpoints, EndpointsAreRefusedByTheirOwnCodes) {
  const struct {
    const char16_t* protocol;
    const char16_t* endpoint;
    RPC_STATUS status;
  } cases[] = {{u"ncacn_np", u"Another", RPC_S_PROTSEQ_NOT_SUPPORTED},
               {u"ncalrpc", u"", RPC_S_INVALID_ENDPOINT_FORMAT},
               {u"ncalrpc", u"../escape", RPC_S_INVALID_ENDPOINT_FORMAT},
               {u"ncalrpc", u"TestEndpoint", RPC_S_DUPLICATE_ENDPOINT},
               {u"ncalrpc", u"Another", RPC_S_OK}};
  for (const auto& each : cases) {
    std::u16string protocol = each.protocol;
    std::u16string endpoint = each.endpoint;
    EXPECT_EQ(RpcServerUseProtseqEpW(protocol.data(), 10, endpoint.data(), nullptr), each.status);
  }
  RPC_BINDING_VECTOR* bindings = nullptr;
  ASSERT_EQ(RpcServerInqBindings(&bindings), RPC_S_OK);
  EXPECT_EQ(bindings->Count, 2u);
  EXPECT_EQ(RpcEpRegisterW(Handle(kTestInterface), bindings, nullptr, nullptr), EPT_S_CANT_PERFORM_OP)
      << "no machine is up";
  EXPECT_EQ(RpcBindingVectorFree(&bindings), RPC_S_OK);
  EXPECT_EQ(bindings, nullptr);
  EXPECT_EQ(RpcServerRegisterIf3(Handle(kTestInterface), nullptr, nullptr, 0x21, 1, 0, nullptr, nullptr),
            RPC_S_TYPE_ALREADY_REGISTERED);
}

TEST_F(ServerEndpoints, ASocketThatADeadProcessLeftIsReplaced) {
  const std::string path = host::CurrentMachineDirectory().runtime + "/ncalrpc/Stale";
  const int left = host::ListenUnixSocket(path, 1);
  ASSERT_GE(left, 0);
  close(left);
  WCHAR protocol[] = u"ncalrpc";
  WCHAR endpoint[] = u"Stale";
  EXPECT_EQ(RpcServerUseProtseqEpW(protocol, 10, endpoint, nullptr), RPC_S_OK);
  RawClient client("Stale");
  EXPECT_NE(client.Bind(kTestInterface), 0u);
}

TEST_F(ServerEndpoints, ListeningLastsUntilItIsEnded) {
  std::atomic<bool> ended = false;
  std::thread listening([&] {
    EXPECT_EQ(RpcServerListen(1, 1234, FALSE), RPC_S_OK);
    ended = true;
  });
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(ended);
  EXPECT_TRUE(Eventually([&] {
    EndListening();
    return ended.load();
  }));
  listening.join();
}

TEST_F(ServerEndpoints, EveryFlatCallCanBeMadeToFail) {
  const std::pair<const char*, std::function<RPC_STATUS()>> calls[] = {
      {"RpcServerUseProtseqEpW", [] { return RpcServerUseProtseqEpW(nullptr, 1, nullptr, nullptr); }},
      {"RpcServerRegisterIf3",
       [] { return RpcServerRegisterIf3(nullptr, nullptr, nullptr, 0, 0, 0, nullptr, nullptr); }},
      {"RpcServerInqBindings", [] { return RpcServerInqBindings(nullptr); }},
      {"RpcEpRegisterW", [] { return RpcEpRegisterW(nullptr, nullptr, nullptr, nullptr); }},
      {"RpcServerListen", [] { return RpcServerListen(1, 1, 0); }},
      {"RpcServerUnregisterIf", [] { return RpcServerUnregisterIf(Handle(kTestInterface), nullptr, 1); }},
      {"RpcEpUnregister", [] { return RpcEpUnregister(nullptr, nullptr, nullptr); }},
      {"RpcBindingVectorFree", [] { return RpcBindingVectorFree(nullptr); }},
      {"RpcServerTestCancel", [] { return RpcServerTestCancel(nullptr); }},
  };
  for (const auto& [name, call] : calls) {
    host::FailCall(name, 1, 4242);
    EXPECT_EQ(call(), 4242) << name;
  }
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription).token;
  client.StartWait(kWait, subscription);
  client.StartWait(kWait, subscription);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 2; }));
  host::FailCall("RpcAsyncCompleteCall", 1, 4243);
  EXPECT_EQ(CompleteNext(1), 4243);
  host::FailCall("RpcAsyncAbortCall", 1, 4244);
  EXPECT_EQ(RpcAsyncAbortCall(server_.TakePending().state, 5), 4244);
  EXPECT_FALSE(client.Receive(50ms));
}

}  // namespace
