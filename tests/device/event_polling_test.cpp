// What the device answers, and the events and trace writes that come of it, through the running service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"
#include "tests/support/trace_records.h"

using namespace support;
using testing::ElementsAre;
using Records = std::vector<std::string>;

namespace {

class EventPolling : public testing::Test {
 protected:
  // The trace writes of one poll after `arrange`.
  Records PollAfter(const std::function<void(machine::Device&)>& arrange) {
    const std::size_t before = TraceRecords().size();
    arrange(service.Device());
    service.Poll();
    Records records = TraceRecords();
    return Records(records.begin() + static_cast<std::ptrdiff_t>(before), records.end());
  }

  // Polls that the device raised itself while it was arranged are over too.
  void Expect(const char* what, const std::function<void(machine::Device&)>& arrange, const Records& expected) {
    EXPECT_EQ(PollAfter(arrange), expected) << what;
  }

  ServiceProcess service;
};

// Answers are scripted for the exact query, so nothing but the rule under test decides.
TEST_F(EventPolling, TurnsEachAnswerIntoItsEvents) {
  service.StartAndSettle();
  Expect("application switch 0 and 2",
         [](auto& d) {
           d.Answers({0x1000, 1, 0, 0}, {0x00000005});
         },
         {"WriteHkd04a7Event(1, 5, 0)", "WriteApplicationSwitchControlEvent(1)", "WriteHkd04a7Event(3, 5, 0)",
          "WriteApplicationSwitchControlEvent(3)"});
  Expect("the last switch",
         [](auto& d) {
           d.Answers({0x1000, 1, 0, 0}, {0x40000000});
         },
         {"WriteHkd04a7Event(31, 1073741824, 0)", "WriteApplicationSwitchControlEvent(31)"});
  Expect("a mask with bit 31", [](auto& d) { d.Answers({0x1000, 1, 0, 0}, {0x80000001}); }, {});
  Expect("button answers until bit 30 is clear",
         [](auto& d) {
           d.Answers({0x1002, 1, 0, 0}, {0x40000401, 0x40000300, 0, 0x40000401});
         },
         {"WriteHkd04a7Event(32, 1073742849, 0)", "WriteIROpeOneButtonControlEvent(1073742849)",
          "WriteHkd04a7Event(33, 1073742592, 0)", "WriteIROpeOneButtonControlEvent(1073742592)"});
  Expect("what was left behind it", [](auto&) {},
         {"WriteHkd04a7Event(32, 1073742849, 0)", "WriteIROpeOneButtonControlEvent(1073742849)"});
  Expect("both buttons, then one of no name",
         [](auto& d) {
           d.Answers({0x1002, 1, 0, 0}, {0x40000000, 0x40000500, 0});
         },
         {"WriteHkd04a7Event(32, 1073741824, 0)", "WriteHkd04a7Event(33, 1073741824, 0)",
          "WriteIROpeOneButtonControlEvent(1073741824)", "WriteIROpeOneButtonControlEvent(1073743104)"});
  Expect("an acceleration answer without bit 0", [](auto& d) { d.Answers({0x1006, 0x12, 0, 0}, {2}); }, {});
  Expect("acceleration",
         [](auto& d) {
           d.Answers({0x1006, 0x12, 0, 0}, {3});
         },
         {"WriteHkd04a7Event(34, 3, 0)", "WriteInterruptAccelerationSensorEvent(3)"});
  Expect("embedded controller",
         [](auto& d) {
           d.Answers({0x1006, 0x22, 1, 0}, {0x11});
         },
         {"WriteHkd04a7Event(38, 1, 17)", "WriteInterruptECEvent(1, 17)"});
  Expect("emergency by bit 1",
         [](auto& d) {
           d.Answers({0x1009, 1, 0, 0}, {2});
         },
         {"WriteHkd04a7Event(35, 2, 0)", "WriteEmergencyNotificationEvent(2)"});
  Expect("phone-PC bits 1 and 2, one answering 0",
         [](auto& d) {
           d.Answers({0x100F, 3, 0, 0}, {6});
           d.Answers({0x100F, 1, 1, 0}, {9});
           d.Answers({0x100F, 1, 2, 0}, {0});
         },
         {"WriteHkd04a7Event(36, 1, 9)", "WritePhonePCDataControlEvent(1, 9)", "WriteHkd04a7Event(36, 2, 0)",
          "WritePhonePCDataControlEvent(2, 0)"});
  Expect("function 0x1015",
         [](auto& d) {
           d.Answers({0x1015, 5, 0, 0}, {0x40000001});
         },
         {"WriteHkd04a7Event(40, 0, 0)", "WriteHkd04a7Event(40, 30, 0)"});
  Expect("function 0x101C: 0, 7, 0",
         [](auto& d) {
           d.Answers({0x101C, 3, 1, 0}, {0});
           d.Answers({0x101C, 3, 2, 0}, {7});
           d.Answers({0x101C, 3, 3, 0}, {0});
         },
         {"WriteHkd04a7Event(42, 2, 7)"});
  Expect("an index that does not count, and the next",
         [](auto& d) {
           d.Answers({0x101C, 3, 1, 0}, {0x80000007});
           d.Answers({0x101C, 3, 3, 0}, {8});
         },
         {"WriteHkd04a7Event(42, 3, 8)"});
}

TEST_F(EventPolling, ContinuesBehindAFailingSource) {
  service.StartAndSettle();
  const machine::DeviceAnswer failing[] = {{.success = 0, .word = 1}};
  Expect("a failed switch query",
         [&](machine::Device& d) {
           d.Script({0x1000, 1, 0, 0}, failing);
           d.Answers({0x1002, 1, 0, 0}, {0x40000401, 0});
         },
         {"WriteHkd04a7Event(32, 1073742849, 0)", "WriteIROpeOneButtonControlEvent(1073742849)"});
}

TEST_F(EventPolling, AsksOnlyForWhatTheDeviceHas) {
  for (const std::uint32_t function : {0x1000u, 0x1002u, 0x1009u, 0x100Fu, 0x1015u}) {
    ASSERT_TRUE(service.Device().SetCapability(function, 0));
  }
  ASSERT_TRUE(service.Device().SetCapability(0x1006, 0x80));  // no sensor, but a controller
  ASSERT_EQ(service.Start(), 0u);
  service.AwaitPolls(1);
  const auto first = service.Device().Trace().back().sequence;
  service.Poll();
  std::vector<std::uint32_t> asked;
  for (const auto& call : service.Device().Trace(first + 1)) asked.push_back(call.record.call.function);
  EXPECT_THAT(asked, ElementsAre(0x1006u, 0x101Cu, 0x101Cu, 0x101Cu));
}

TEST_F(EventPolling, ReachesEverySubscriberOnTheDevicesOwnRoad) {
  service.StartAndSettle();
  RpcClient first, second;
  ASSERT_EQ(first.Create(), 0u);
  ASSERT_EQ(second.Create(), 0u);
  auto pending = first.BeginWait();
  ASSERT_TRUE(service.Device().PressMask(0x5));
  EXPECT_EQ(pending->Finish().Text(), "0 (1, 5, 0)");
  EXPECT_EQ(first.WaitForEvent().Text(), "0 (3, 5, 0)");
  EXPECT_EQ(second.WaitForEvent().Text(), "0 (1, 5, 0)");
  EXPECT_EQ(second.WaitForEvent().Text(), "0 (3, 5, 0)");
}

// A wait that ended badly on the device's side posts nothing.
TEST_F(EventPolling, IgnoresNotificationsThatFailed) {
  service.StartAndSettle();
  const std::size_t polls = service.Polls();
  service.Device().Raise(5);
  EXPECT_TRUE(service.Log().WaitFor("Hkd04a7NotificationCallback io error\n"));
  service.Poll();
  EXPECT_EQ(service.Polls(), polls + 1);
}

}  // namespace
