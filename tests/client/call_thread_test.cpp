#include "client/call_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "client/device_session.h"
#include "client/run_as_system.h"
#include "tests/client/scripted_procedures.h"
#include "tests/client/scripted_service.h"

namespace client {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class CallThreadTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(connection_.Open().Ok());
    ASSERT_TRUE(session_.Open().Ok());
  }

  std::future<Answer> Post(CallThread& calls, DWORD functionCode) {
    return calls.Post([this, functionCode](DWORD* value) { return session_.Call(functionCode, 0, 0, 0, value); });
  }

  ScriptedService service_;
  ScriptedProcedures& procedures_ = ScriptedProcedures::Instance();
  Connection connection_;
  DeviceSession session_{connection_};
};

TEST_F(CallThreadTest, MakesCallsInOrderAndAnswersEach) {
  procedures_.Set("Device_CallFuncMethod", {0, 9});
  CallThread calls;
  std::vector<std::future<Answer>> answers;
  for (DWORD i = 1; i <= 3; ++i) answers.push_back(Post(calls, i));
  for (auto& future : answers) {
    const Answer answer = future.get();
    EXPECT_TRUE(answer.status.Ok());
    EXPECT_EQ(answer.value, 9u);
  }
  EXPECT_THAT(procedures_.Calls(),
              testing::ElementsAre("Device_Create", "Device_CallFuncMethod 1 0 0 0", "Device_CallFuncMethod 2 0 0 0",
                                   "Device_CallFuncMethod 3 0 0 0"));
}

TEST_F(CallThreadTest, CancelTakesBackWhatHasNotBegun) {
  procedures_.Hold();
  CallThread calls;
  std::future<Answer> begun = Post(calls, 1);
  ASSERT_TRUE(procedures_.AwaitCalls(2));
  std::future<Answer> waiting = Post(calls, 2);
  calls.Cancel();
  EXPECT_EQ(waiting.get().status.rpc, RPC_S_CALL_CANCELLED);
  EXPECT_EQ(begun.wait_for(milliseconds(20)), std::future_status::timeout);
  procedures_.Release();
  EXPECT_TRUE(begun.get().status.Ok());
  EXPECT_TRUE(Post(calls, 3).get().status.Ok()) << "later calls are made";
}

TEST_F(CallThreadTest, DestructionLeavesNoFutureOpen) {
  procedures_.Hold();
  auto calls = std::make_unique<CallThread>();
  std::future<Answer> begun = Post(*calls, 1);
  ASSERT_TRUE(procedures_.AwaitCalls(2));
  std::future<Answer> waiting = Post(*calls, 2);
  std::thread destroyer([&calls] { calls.reset(); });
  EXPECT_EQ(waiting.get().status.rpc, RPC_S_CALL_CANCELLED);
  procedures_.Release();
  destroyer.join();
  EXPECT_EQ(begun.wait_for(seconds(0)), std::future_status::ready);
  EXPECT_TRUE(begun.get().status.Ok());
}

// A call that waits for its program holds up nothing but its own thread.
TEST_F(CallThreadTest, TwoThreadsMakeCallsSideBySide) {
  procedures_.Hold();
  CallThread first, second;
  std::future<Answer> run = first.Post([this](DWORD* value) {
    return RunAsSystem(connection_, {W("slow"), W("")}, value);
  });
  std::future<Answer> call = Post(second, 1);
  EXPECT_TRUE(procedures_.AwaitCalls(3));
  procedures_.Release();
  EXPECT_TRUE(run.get().status.Ok());
  EXPECT_TRUE(call.get().status.Ok());
}

TEST_F(CallThreadTest, AnExceptionReachesTheFuture) {
  CallThread calls;
  auto answer = calls.Post([](DWORD*) -> Status { throw std::runtime_error("out of luck"); });
  EXPECT_THROW(answer.get(), std::runtime_error);
  EXPECT_TRUE(Post(calls, 1).get().status.Ok());
}

TEST(CallThreadAloneTest, AnEndedServiceEndsTheCalls) {
  Connection connection;
  CallThread calls;
  DeviceSession session(connection);
  {
    ScriptedService service;
    ASSERT_TRUE(connection.Open().Ok());
    ASSERT_TRUE(session.Open().Ok());
  }
  auto open = calls.Post([&](DWORD*) { return DeviceSession(connection).Open(); });
  auto call = calls.Post([&](DWORD* value) { return session.Call(1, 0, 0, 0, value); });
  EXPECT_TRUE(open.get().status.ServiceNotReachable());
  EXPECT_TRUE(call.get().status.FromRuntime());
}

}  // namespace
}  // namespace client
