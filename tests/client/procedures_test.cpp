// The calls of the client library as the service sees them, and their answers as the program gets them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>

#include "client/app_services.h"
#include "client/device_session.h"
#include "client/run_as_system.h"
#include "tests/client/scripted_procedures.h"
#include "tests/client/scripted_service.h"

namespace client {
namespace {

using testing::ElementsAre;

class ProceduresTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(connection_.Open().Ok()); }

  // The calls since the last look.
  std::vector<std::string> Calls() {
    std::vector<std::string> calls = procedures_.Calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(seen_));
    seen_ += calls.size();
    return calls;
  }

  ScriptedService service_;
  ScriptedProcedures& procedures_ = ScriptedProcedures::Instance();
  Connection connection_;

 private:
  std::size_t seen_ = 0;
};

TEST_F(ProceduresTest, ASessionPassesEverythingUnchanged) {
  procedures_.Set("Device_CallFuncMethod", {0, 0xC0000401});
  procedures_.Set("Device_GetWakeupStatus", {0, 0x40000401});
  {
    DeviceSession session(connection_);
    ASSERT_TRUE(session.Open().Ok());
    EXPECT_TRUE(session.IsOpen());
    DWORD value = 0;
    EXPECT_TRUE(session.Call(0xFFFFFFFF, 1, 0, 0x80000000, &value).Ok());
    EXPECT_EQ(value, 0xC0000401u);
    EXPECT_TRUE(session.WakeupStatus(WakeupKind::OneTouchButton, &value).Ok());
    EXPECT_EQ(value, 0x40000401u);
    EXPECT_TRUE(session.WakeupStatus(static_cast<WakeupKind>(3), &value).Ok());
  }
  EXPECT_THAT(Calls(), ElementsAre("Device_Create", "Device_CallFuncMethod 4294967295 1 0 2147483648",
                                   "Device_GetWakeupStatus 2", "Device_GetWakeupStatus 3", "Device_Close"));
}

TEST_F(ProceduresTest, AClosedSessionCanBeOpenedAgain) {
  DeviceSession session(connection_);
  ASSERT_TRUE(session.Open().Ok());
  ASSERT_TRUE(session.Open().Ok());
  EXPECT_TRUE(session.Close().Ok());
  EXPECT_FALSE(session.IsOpen());
  DWORD value = 7;
  for (const Status& status :
       {session.Close(), session.Call(1, 0, 0, 0, &value), session.WakeupStatus(WakeupKind::Switch, &value)})
    EXPECT_EQ(status.rpc, RPC_X_SS_IN_NULL_CONTEXT) << status.operation;
  EXPECT_EQ(value, 7u);
  EXPECT_THAT(Calls(), ElementsAre("Device_Create", "Device_Close", "Device_Create", "Device_Close"));
  EXPECT_TRUE(session.Open().Ok());
}

// One thread ends what others still use.
TEST_F(ProceduresTest, ACloseWaitsForTheCallsOfOtherThreads) {
  DeviceSession session(connection_);
  ASSERT_TRUE(session.Open().Ok());
  procedures_.Hold();
  DWORD value = 0;
  auto call = std::async(std::launch::async, [&] { return session.Call(1, 2, 3, 4, &value); });
  ASSERT_TRUE(procedures_.AwaitCalls(2));
  auto close = std::async(std::launch::async, [&] { return session.Close(); });
  EXPECT_EQ(close.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  procedures_.Release();
  EXPECT_TRUE(call.get().Ok());
  EXPECT_TRUE(close.get().Ok());
  EXPECT_THAT(Calls(), ElementsAre("Device_Create", "Device_CallFuncMethod 1 2 3 4", "Device_Close"));
}

TEST_F(ProceduresTest, RegistrationsCarryTheirFlags) {
  AppServices services(connection_);
  EXPECT_TRUE(services.Register(W("Ü.Settings_1"), W("events"), {41, 5}).Ok());
  EXPECT_TRUE(services.Register(W(""), W(""), {37, {}}).Ok());
  EXPECT_TRUE(services.Query(W("p"), W("s"), {41, 0}).Ok());
  EXPECT_TRUE(services.Query(W("p"), W("s"), {41, {}}).Ok());
  EXPECT_TRUE(services.Unregister(W("p"), {41, 0xFFFFFFFF}).Ok());
  EXPECT_TRUE(services.Unregister(W("p"), {41, {}}).Ok());
  EXPECT_THAT(Calls(),
              ElementsAre("RegisterAppService 'Ü.Settings_1' 'events' 0 41 5", "RegisterAppService '' '' 1 37 0",
                          "RegisterAppService 'p' 's' 2 41 0", "RegisterAppService 'p' 's' 3 41 0",
                          "UnregisterAppService 'p' 0 41 4294967295", "UnregisterAppService 'p' 1 41 0"));
}

TEST_F(ProceduresTest, ARunCarriesItsFlagsAndItsExitCode) {
  procedures_.Set("RunFileAsSystem", {0, 0xC0000005});
  DWORD exitCode = 0;
  EXPECT_TRUE(RunAsSystem(connection_, {W("repair"), W("-b \"c d\"")}, &exitCode).Ok());
  EXPECT_EQ(exitCode, 0xC0000005u);
  EXPECT_TRUE(RunAsSystem(connection_, {W("repair"), W(""), false, false}, &exitCode).Ok());
  EXPECT_TRUE(RunAsSystem(connection_, {W("repair"), W(""), true, true}, &exitCode).Ok());
  EXPECT_TRUE(RunAsSystem(connection_, {W("repair"), W(""), false, true}, &exitCode).Ok());
  EXPECT_THAT(Calls(), ElementsAre("RunFileAsSystem 0 'repair' '-b \"c d\"'", "RunFileAsSystem 1 'repair' ''",
                                   "RunFileAsSystem 2 'repair' ''", "RunFileAsSystem 3 'repair' ''"));
}

// Each procedure tells its own name, the code, and which layer it came from.
TEST_F(ProceduresTest, TellsWhichLayerRefused) {
  DeviceSession session(connection_);
  ASSERT_TRUE(session.Open().Ok());
  AppServices services(connection_);
  DWORD value = 0;
  struct Case {
    const char* procedure;
    std::function<Status()> call;
  };
  const Case cases[] = {
      {"Device_CallFuncMethod", [&] { return session.Call(1, 0, 0, 0, &value); }},
      {"Device_GetWakeupStatus", [&] { return session.WakeupStatus(WakeupKind::Switch, &value); }},
      {"RegisterAppService",
       [&] {
         return services.Register(W("p"), W("s"), {1, {}});
       }},
      {"RegisterAppService",
       [&] {
         return services.Query(W("p"), W("s"), {1, {}});
       }},
      {"UnregisterAppService",
       [&] {
         return services.Unregister(W("p"), {1, {}});
       }},
      {"RunFileAsSystem",
       [&] {
         return RunAsSystem(connection_, {W("c"), W("")}, &value);
       }},
      {"Device_Create", [&] { return DeviceSession(connection_).Open(); }},
  };
  for (const Case& test : cases) {
    procedures_.Set(test.procedure, {static_cast<HRESULT>(0x80070005)});
    const Status refused = test.call();
    EXPECT_FALSE(refused.FromRuntime());
    EXPECT_THAT(Describe(refused), testing::AllOf(testing::HasSubstr(test.procedure),
                                                  testing::HasSubstr(" answered 0x80070005 (ERROR_ACCESS_DENIED")));
    procedures_.Set(test.procedure, {0, 0, RPC_S_ACCESS_DENIED});
    const Status notAdmitted = test.call();
    EXPECT_TRUE(notAdmitted.FromRuntime());
    EXPECT_THAT(Describe(notAdmitted), testing::HasSubstr(" answered 5 (ERROR_ACCESS_DENIED"));
  }
}

TEST_F(ProceduresTest, AnAnswerOfNoIsNotAnError) {
  procedures_.Set("RegisterAppService", {1});
  const Status status = AppServices(connection_).Query(W("p"), W("s"), {1, {}});
  EXPECT_FALSE(status.Ok());
  EXPECT_EQ(status.CodeName(), "S_FALSE");
  EXPECT_EQ(Describe(status),
            "Hkd04a7Rpc_RegisterAppServiceForNotification answered 1 (S_FALSE: answered, but not with yes)");
}

TEST_F(ProceduresTest, AFailedCloseLeavesTheSessionClosed) {
  procedures_.Set("Device_Close", {0, 0, RPC_S_CALL_FAILED});
  DeviceSession session(connection_);
  ASSERT_TRUE(session.Open().Ok());
  EXPECT_EQ(session.Close().rpc, RPC_S_CALL_FAILED);
  EXPECT_FALSE(session.IsOpen());
}

}  // namespace
}  // namespace client
