#include "tools/rpc_text.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

TEST(RpcTextTest, TellsWhatAServerHolds) {
  constexpr const char* kBusy = R"({"pid":7,"answering":true,"connections":2,"openCalls":4,"pendingCalls":1,"threads":3,
      "unsentBytes":1,"handles":{"Hkd04a7Rpc_EventNotifyHandle":2,"Hkd04a7Rpc_DeviceHandle":1,"Other":1},
      "queues":{"events":5,"longest":4},"calls":{"Create":1,"Wait":3}})";
  const std::string busy =
      "process 7: 2 connections, 2 subscriptions, 1 device session, 1 Other, 5 queued events (at most 4 in one), 3 "
      "calls running, 1 wait pending, "
      "1 unsent byte, 3 threads";
  struct Case {
    const char* server;
    bool stopPending;
    std::string text;
  };
  const Case cases[] = {
      {kBusy, false, busy},
      {kBusy, true, busy + "; the stop waits for 1 Create, 3 Wait"},
      {R"({"pid":7,"answering":true,"connections":1,"threads":1})", true,
       "process 7: 1 connection, 0 subscriptions, 0 device sessions, 0 calls running, 0 waits pending, 0 unsent bytes, "
       "1 thread"},
      {R"({"pid":7,"answering":false})", true, "process 7: does not answer"},
  };
  for (const Case& test : cases)
    EXPECT_EQ(RpcServerText(nlohmann::json::parse(test.server), test.stopPending), test.text);
}

}  // namespace
}  // namespace tool
