#include "tools/status_text.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

TEST(StatusTextTest, TellsWhatEventsHaveLeftRunning) {
  const auto status = nlohmann::json::parse(R"({"users":[{"user":"anna","sid":"S-1"}],
      "tasks":{"running":false,"registered":3,"runsGoing":2,"runsWaiting":1},
      "clientMode":[{"pid":-1,"event":null,"ageMs":null,"token":{"userSid":"S-1","session":1}},
                    {"pid":7,"event":"32","ageMs":1200,"token":{"userSid":"S-1","session":1}}],
      "appServices":[{"pid":8,"package":"P_1","service":"notify","userSid":"S-1","session":1,"listening":true,
                      "refuses":true}]})");
  const std::string text = StatusText(status);
  for (const char* line : {"\n  tasks        3 registered, 2 runs going, 1 waiting; the Task Scheduler is stopped",
                           "\n  client mode  event ? for anna, session 1, being started",
                           "\n               7  event 32 for anna, session 1, 1200 ms old",
                           "\n  app services 8  P_1 notify for anna, session 1, refuses connections"})
    EXPECT_THAT(text, testing::HasSubstr(line));
}

}  // namespace
}  // namespace tool
