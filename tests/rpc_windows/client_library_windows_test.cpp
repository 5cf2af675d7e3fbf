// The client library over the platform's RPC runtime, at the service's own endpoint.
#include <gtest/gtest.h>

#include <future>

#include "client/app_services.h"
#include "client/call_thread.h"
#include "client/device_session.h"
#include "client/run_as_system.h"
#include "platform/rpc_interface.h"
#include "tools/gate.h"

namespace {

using client::Answer;
using client::AppServices;
using client::CallThread;
using client::DeviceSession;

constexpr const wchar_t* kPackage = L"Quorvex.Sample_m3tq8v0kc2wna";
constexpr DWORD kNoSuchFunction = 0x7ABC;  // the stand-in of the device library has no answer for it

class WindowsClientLibrary : public testing::Test {
 protected:
  void SetUp() override {
    std::wstring protocolSequence = L"ncalrpc", endpoint = L"Hkd04a7RpcEndpoint";
    const auto text = [](std::wstring& wide) { return reinterpret_cast<RPC_WSTR>(wide.data()); };
    ASSERT_EQ(RpcServerUseProtseqEpW(text(protocolSequence), RPC_C_PROTSEQ_MAX_REQS_DEFAULT, text(endpoint), nullptr),
              RPC_S_OK);
    ASSERT_EQ(
        RpcServerRegisterIf3(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                             RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr, nullptr),
        RPC_S_OK);
    ASSERT_TRUE(connection.Open().Ok());
  }
  void TearDown() override { EXPECT_EQ(RpcServerUnregisterIf(Hkd04a7Rpc_v1_0_s_ifspec, nullptr, TRUE), RPC_S_OK); }

  client::Connection connection;
};

TEST_F(WindowsClientLibrary, SessionsOpenCallAndClose) {
  DeviceSession session(connection);
  ASSERT_TRUE(session.Open().Ok());
  DWORD word = 0;
  const client::Status called = session.Call(kNoSuchFunction, 0, 0, 0, &word);
  EXPECT_FALSE(called.FromRuntime()) << Describe(called);
  const client::Status asked = session.WakeupStatus(client::WakeupKind::Switch, &word);
  EXPECT_EQ(asked.Code(), 0x800705B4u) << Describe(asked);
  EXPECT_TRUE(session.Close().Ok());
  EXPECT_TRUE(session.Close().FromRuntime());
  EXPECT_TRUE(session.Call(kNoSuchFunction, 0, 0, 0, &word).FromRuntime());
}

TEST_F(WindowsClientLibrary, RegistrationsAreMadeFoundAndRemoved) {
  AppServices services(connection);
  const client::AppServiceEvent event = {41, 5};
  EXPECT_EQ(services.Query(kPackage, L"events", event).Code(), 0x80070002u);
  EXPECT_TRUE(services.Register(kPackage, L"events", event).Ok());
  EXPECT_TRUE(services.Query(kPackage, L"events", event).Ok());
  EXPECT_EQ(services.Query(kPackage, L"Events", event).CodeName(), "S_FALSE");
  EXPECT_EQ(services.Query(kPackage, L"events", {41, {}}).Code(), 0x80070002u);
  EXPECT_TRUE(services.Unregister(kPackage, event).Ok());
}

TEST_F(WindowsClientLibrary, TheCapabilityGateRefusesAnUnpackagedCaller) {
  DWORD exitCode = 7;
  const client::Status status = client::RunAsSystem(connection, {L"command", L""}, &exitCode);
  EXPECT_EQ(status.Code(), 0x80070005u) << Describe(status);
  EXPECT_FALSE(status.FromRuntime());
  const tool::Gate gate = tool::GateOfRun(status, tool::ReadRunFacts(L"command"));
  EXPECT_EQ(gate.name, "capability bit");
  EXPECT_NE(gate.state.find("no package family name"), std::string::npos) << gate.state;
}

TEST_F(WindowsClientLibrary, ACallThreadAnswersWithFutures) {
  DeviceSession session(connection);
  CallThread calls;
  std::future<Answer> opened = calls.Post([&](DWORD*) { return session.Open(); });
  std::future<Answer> closed = calls.Post([&](DWORD*) { return session.Close(); });
  EXPECT_TRUE(opened.get().status.Ok());
  EXPECT_TRUE(closed.get().status.Ok());
}

}  // namespace
