#include "tools/log_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// The stamp's clock is local time; what follows it does not depend on where the test runs.
TEST(LogTextTest, ShowsDebugLines) {
  struct Case {
    const char* record;
    const char* text;
  };
  const Case cases[] = {
      {R"({"t":1,"wall":1700000000123,"pid":42,"line":"hkd04a7 on stop request 1\n"})", "hkd04a7 on stop request 1"},
      {R"({"t":1,"wall":1700000000123,"pid":42,"line":"HKD04A7: worker thread: ready"})",
       "HKD04A7: worker thread: ready"},
      {R"({"t":1,"wall":1700000000123,"pid":42,"line":"a\nb\n\n"})", R"(a\nb\n)"},
      {R"({"t":1,"wall":1700000000123,"pid":42,"line":"\u001b[31m\t\u007f"})", R"(\x1B[31m\t\x7F)"},
  };
  for (const Case& test : cases) {
    const auto shown = ShowDebugRecord(test.record);
    ASSERT_TRUE(shown) << test.record;
    EXPECT_EQ(shown->text, test.text);
    EXPECT_THAT(shown->stamp, EndsWith(".123 [42] "));
  }
}

TEST(LogTextTest, ShowsTraceRecords) {
  const auto shown =
      ShowTraceRecord(R"({"t":1,"wall":1700000000123,"pid":42,"event":"WriteHkd04a7Event","args":[32,1073742849,0]})");
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->text, "WriteHkd04a7Event 32 0x40000401 0");
}

TEST(LogTextTest, RefusesWhatIsNoRecord) {
  for (const char* wrong : {"", "{", "[]", "{}", R"({"wall":1,"pid":1})", R"({"wall":"x","pid":1,"line":"a"})",
                            R"({"wall":1,"pid":1,"line":7})"}) {
    EXPECT_FALSE(ShowDebugRecord(wrong)) << wrong;
    EXPECT_FALSE(ShowTraceRecord(wrong)) << wrong;
  }
}

TEST(RepeatFolderTest, FoldsOnlyWhatTheSameProcessRepeats) {
  RepeatFolder folder;
  EXPECT_THAT(folder.Add({"10:00:00.000 [1] ", "a"}), ElementsAre("10:00:00.000 [1] a"));
  EXPECT_THAT(folder.Add({"10:00:00.001 [1] ", "a"}), IsEmpty());
  EXPECT_THAT(folder.Add({"10:00:00.002 [2] ", "a"}), ElementsAre(EndsWith("once more"), "10:00:00.002 [2] a"));
  EXPECT_THAT(folder.Add({"10:00:00.003 [2] ", "a"}), IsEmpty());
  EXPECT_THAT(folder.Add({"10:00:00.004 [2] ", "a"}), IsEmpty());
  EXPECT_THAT(folder.Flush(), ElementsAre(EndsWith("2 times")));
  EXPECT_THAT(folder.Flush(), IsEmpty());
  EXPECT_THAT(folder.Add({"10:00:00.005 [2] ", "a"}), IsEmpty()) << "a pause does not end the repeat";
  EXPECT_THAT(folder.Add({"10:00:00.006 [2] ", "b"}), ElementsAre(EndsWith("once more"), "10:00:00.006 [2] b"));
}

}  // namespace
}  // namespace tool
