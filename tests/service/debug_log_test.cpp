#include "service/debug_log.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/errors.h"
#include "platform/host/kernel/debug_output.h"

using namespace Quorvex::PC::Hkd04a7;

namespace {

class DebugLogTest : public testing::Test {
 protected:
  void SetUp() override {
    host::CaptureDebugOutput([this](std::u16string_view line) { lines_.emplace_back(line); });
  }
  void TearDown() override {
    host::CaptureDebugOutput({});
    g_enableLog = false;
  }
  std::vector<WideString> lines_;
};

TEST_F(DebugLogTest, PassesLinesOnAsTheyStand) {
  g_enableLog = false;
  DebugLog(W("nothing %u\n"), 1u);
  EXPECT_TRUE(lines_.empty());
  g_enableLog = true;
  DebugLog(W("HKD04A7: worker thread: ready"));
  DebugLog(W("hkd04a7 %s 1\n"), W("Stop"));
  EXPECT_EQ(lines_, (std::vector<WideString>{W("HKD04A7: worker thread: ready"), W("hkd04a7 Stop 1\n")}));
}

TEST_F(DebugLogTest, LeavesTheLastErrorToWhoeverAnswersIt) {
  host::CaptureDebugOutput([](std::u16string_view) { SetLastError(1); });
  g_enableLog = true;
  SetLastError(4711);
  DebugLog(W("failed, err=0x%08x\n"), GetLastError());
  EXPECT_EQ(GetLastError(), 4711u);
}

TEST_F(DebugLogTest, CutsAt199Characters) {
  g_enableLog = true;
  const WideString whole(199, 'x');
  const WideString tooLong(200, 'y');
  DebugLog(W("%s"), whole.c_str());
  DebugLog(W("%s"), tooLong.c_str());
  ASSERT_EQ(lines_.size(), 2u);
  EXPECT_EQ(lines_[0], whole);
  EXPECT_EQ(lines_[1], WideString(199, 'y'));
}

}  // namespace
