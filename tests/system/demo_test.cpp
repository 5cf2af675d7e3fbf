// The demo, and that it leaves nothing behind. (Its own verdict compares every event at both clients.)
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class DemoTest : public ToolTest {};

TEST_F(DemoTest, PlaysEverythingOnce) {
  const ToolResult result = Run({"demo", "--once"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("32 of 32 events"), HasSubstr("17 of 17 requests"), HasSubstr("everything as expected"),
                    HasSubstr("exit code 7"), HasSubstr("WakeupOnetouchButtonInfo=0x40000401")));
  EXPECT_EQ(Run({"status"}).exitCode, 4) << "the machine is down";
  // What it left behind does not matter to the next one.
  EXPECT_EQ(Run({"demo", "--once"}).exitCode, 0);
}

TEST_F(DemoTest, AnInterruptTakesEverythingDown) {
  const auto demo = Begin({"demo"});
  ASSERT_TRUE(demo->AwaitOutput("client B subscribed")) << demo->Output();
  demo->Signal(SIGINT);
  EXPECT_EQ(demo->Finish(std::chrono::seconds(30)).exitCode, 130) << demo->Output();
  EXPECT_EQ(Run({"status"}).exitCode, 4);
}

}  // namespace
}  // namespace tool
