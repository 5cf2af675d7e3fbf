// What events leave running: shown by the status, waited for by settle.
#include <gmock/gmock.h>

#include <fstream>

#include "platform/host/base/error_codes.h"
#include "tests/machine/machine_fixture.h"

namespace machine {
namespace {

using machine_test::Ask;
using machine_test::Code;
using machine_test::Eventually;
using nlohmann::json;

class EventFollowersTest : public machine_test::MachineTest {
 protected:
  // A program that stands for the client mode of an event until the file `end` in the test's folder is there.
  void StartClientMode() {
    const json arguments = {"-c", Wait(), "-appservice", "-event", "5", "-data1", "16", "-data2", "0"};
    Ask("process.run",
        {{"program", "/bin/sh"}, {"arguments", arguments}, {"identity", {{"user", "anna"}, {"session", 1}}}});
  }
  std::string Wait() const { return "until test -e " + folder_.path() + "/end; do sleep 0.02; done"; }
  void EndAll() { std::ofstream(folder_.path() + "/end"); }
  static std::string SettleMessage() { return Ask("machine.settle", {{"timeoutMs", 120}}).value("message", ""); }
};

TEST_F(EventFollowersTest, AClientModeThatGoesOnIsShownAndHoldsTheSettling) {
  Start();
  StartClientMode();
  const json shown = Ask("machine.status").at("clientMode");
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].at("event"), "5");
  EXPECT_EQ(shown[0].at("data1"), "16");
  EXPECT_LT(shown[0].at("ageMs").get<int>(), 60'000);
  EXPECT_THAT(SettleMessage(), testing::HasSubstr("the client mode of event 5 for anna, process "));
  EndAll();
  EXPECT_EQ(Code("machine.settle", {{"timeoutMs", 10'000}}), 0u);
  EXPECT_EQ(Ask("machine.status").at("clientMode"), json::array());
}

TEST_F(EventFollowersTest, ARunOfATaskIsCountedAndHoldsTheSettling) {
  Start();
  const std::string wait = "-c \"" + Wait() + "\"";
  ASSERT_EQ(Code("task.add", {{"path", "Long"}, {"program", "/bin/sh"}, {"arguments", wait}}), 0u);
  ASSERT_EQ(Code("task.run", {{"path", "Long"}, {"arguments", json::array()}}), 0u);
  EXPECT_TRUE(Eventually([] { return Ask("machine.status").at("tasks").at("runsGoing") == 1; }));
  EXPECT_THAT(SettleMessage(), testing::HasSubstr("runs of tasks: 1"));
  EndAll();
  EXPECT_EQ(Code("machine.settle", {{"timeoutMs", 10'000}}), 0u);
}

}  // namespace
}  // namespace machine
