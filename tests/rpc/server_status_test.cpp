// What the machine's status tells of the RPC server of the running service.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/host/base/fault_injection.h"
#include "platform/services.h"
#include "rpc/event_notify_list.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;
using nlohmann::json;

namespace {

constexpr const char* kWait = "Hkd04a7Rpc_EventNotify_WaitEventAsync";

class ServerStatus : public testing::Test {
 protected:
  void SetUp() override { service.StartAndSettle(); }

  json Status() {
    json status;
    EXPECT_EQ(service.Machine().Call("machine.status", {}, &status), 0u);
    return status;
  }

  // Once the calls are those: a client may have its reply before its call has ended.
  json WithCalls(const json& calls) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    json rpc;
    do {
      rpc = Status().at("rpc");
    } while (!(rpc.size() == 1 && rpc[0].value("calls", json()) == calls) && std::chrono::steady_clock::now() < limit);
    return rpc;
  }

  ServiceProcess service;
};

TEST_F(ServerStatus, TellsWhatItHolds) {
  RpcClient waiting, idle;
  ASSERT_EQ(idle.Create(), 0u);
  for (const DWORD event : {1u, 2u, 3u}) Quorvex::PC::Hkd04a7::Service::DeliverToSubscriptions({event, 0, 0});
  ASSERT_EQ(waiting.Create(), 0u);
  auto wait = waiting.BeginWait();
  const json rpc = WithCalls({{kWait, 1}});
  ASSERT_EQ(rpc.size(), 1u);
  json row = rpc[0];
  EXPECT_EQ(row.at("pid"), getpid());
  EXPECT_GE(row.at("threads"), 1u);
  for (const char* varying : {"pid", "threads"}) row.erase(varying);
  EXPECT_EQ(row, json({{"answering", true},
                       {"connections", 2},
                       {"associations", 2},
                       {"handles", {{"Hkd04a7Rpc_EventNotifyHandle", 2}}},
                       {"openCalls", 1},
                       {"pendingCalls", 1},
                       {"calls", {{kWait, 1}}},
                       {"unsentBytes", 0},
                       {"queues", {{"events", 3}, {"longest", 3}}}}));
  ASSERT_EQ(waiting.Destroy(), 0u);
  wait->Finish();
  const json later = WithCalls(json::object());
  EXPECT_EQ(later.at(0).at("openCalls"), 0u);
  EXPECT_EQ(later.at(0).at("handles").at("Hkd04a7Rpc_EventNotifyHandle"), 1u);
}

TEST_F(ServerStatus, NamesTheCallThatHoldsAStopAndEndsWithTheEndpoint) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  auto wait = client.BeginWait();
  ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
  json during;
  host::AtCall("RpcAsyncCompleteCall", [&] { during = Status(); });
  EXPECT_EQ(service.Stop(), 0u);
  wait->Finish();
  ASSERT_TRUE(during.is_object());
  EXPECT_EQ(during.at("services").at(0).at("state"), SERVICE_STOP_PENDING);
  EXPECT_EQ(during.at("rpc").at(0).at("calls").at(kWait), 1u);
  EXPECT_EQ(Status().at("rpc"), json::array());
}

// Answers that are none leave the machine as it is; whoever does not answer is told so.
TEST(SilentServer, IsNotWaitedForLong) {
  TestMachine machine;
  ASSERT_EQ(machine.Call("epmap.register", {{"uuid", "u"}, {"version", "1.0"}, {"bindings", {"ncalrpc:[E]"}}}), 0u);
  EXPECT_EQ(machine.Call("rpc.tell", {{"token", 1}}), 87u);
  EXPECT_EQ(machine.Call("rpc.tell", {{"token", "x"}}), 87u);
  json status;
  const auto before = std::chrono::steady_clock::now();
  ASSERT_EQ(machine.Call("machine.status", {}, &status), 0u);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
  EXPECT_EQ(status.at("rpc"), json::array({{{"pid", getpid()}, {"answering", false}}}));
}

}  // namespace
