// The small decisions of the product, each by table.
#include <gtest/gtest.h>

#include "device/event_polling.h"
#include "rpc/wakeup_record.h"
#include "service/version_guard.h"
#include "service/wake_check.h"

using namespace Quorvex::PC::Hkd04a7;
using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

TEST(Decisions, FirstVersionNumber) {
  EXPECT_EQ(FirstVersionNumber(W("3.0.1.0")), 3u);
  EXPECT_EQ(FirstVersionNumber(W("4")), 4u);
  EXPECT_EQ(FirstVersionNumber(W("  12.x")), 12u);
  EXPECT_EQ(FirstVersionNumber(W("99999999999.1")), 0xFFFFFFFFu);
  EXPECT_EQ(FirstVersionNumber(W("v4")), std::nullopt);
  EXPECT_EQ(FirstVersionNumber(W("-")), std::nullopt);
  EXPECT_EQ(FirstVersionNumber(W("")), std::nullopt);
}

TEST(Decisions, ButtonAnswers) {
  const struct {
    std::uint32_t answer;
    bool isAnswer, oneTouch, irOpe;
  } cases[] = {
      {0x40000401, true, true, false},  {0x40000300, true, false, true},  {0x40000000, true, true, true},
      {0x40000500, true, false, false}, {0x00000401, false, true, false}, {0, false, false, false},
      {0x40000001, true, false, false},
  };
  for (const auto& entry : cases) {
    const ButtonPress press = DecodeButtonAnswer(entry.answer);
    EXPECT_EQ(press.isAnswer, entry.isAnswer) << std::hex << entry.answer;
    EXPECT_EQ(press.oneTouch, entry.oneTouch) << std::hex << entry.answer;
    EXPECT_EQ(press.irOpe, entry.irOpe) << std::hex << entry.answer;
  }
}

TEST(Decisions, WakeWords) {
  const struct {
    std::uint32_t word, oneTouch, irOpe;
  } cases[] = {
      {0x40000401, 0x40000401, 0}, {0x40000312, 0, 0x40000312}, {0x00000401, 0, 0}, {0x80000401, 0, 0},
      {0xC0000401, 0, 0},          {0x40000500, 0, 0},          {0, 0, 0},
  };
  for (const auto& entry : cases) {
    const WakeupButtonInfo info = DecodeWakeupButton(entry.word);
    EXPECT_EQ(info.oneTouch, entry.oneTouch) << std::hex << entry.word;
    EXPECT_EQ(info.irOpe, entry.irOpe) << std::hex << entry.word;
  }
  EXPECT_TRUE(NamesWakeButton(0x40000400));
  EXPECT_TRUE(NamesWakeButton(0x00000312));
  EXPECT_FALSE(NamesWakeButton(0x40000000));
  EXPECT_FALSE(NamesWakeButton(0x40000700));
}

}  // namespace
