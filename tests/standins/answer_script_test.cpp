#include "standins/utility/answer_script.h"

#include <gtest/gtest.h>

namespace {

TEST(AnswerScript, GivesEachAnswerOnceAndALastingOneForEver) {
  std::string error;
  std::optional<AnswerScript> script = AnswerScript::Parse(
      "# buttons\r\n"
      "0x1002 1 0 0 = 0x40000401, 0x40000300 # two\n"
      "\n"
      "4096 0 0X0 0=fail,31*\n"
      "  notify 500\n"
      "notify 20",
      &error);
  ASSERT_TRUE(script) << error;
  const ScriptedCall buttons = {0x1002, 1, 0, 0};
  EXPECT_EQ(script->Answer(buttons), (ScriptedAnswer{true, 0x40000401, false}));
  EXPECT_EQ(script->Answer(buttons), (ScriptedAnswer{true, 0x40000300, false}));
  EXPECT_FALSE(script->Answer(buttons).success);
  const ScriptedCall switches = {0x1000, 0, 0, 0};
  EXPECT_FALSE(script->Answer(switches).success);
  EXPECT_EQ(script->Answer(switches), (ScriptedAnswer{true, 31, true}));
  EXPECT_EQ(script->Answer(switches), (ScriptedAnswer{true, 31, true}));
  EXPECT_FALSE(script->Answer({0x1000, 1, 0, 0}).success);
  EXPECT_EQ(script->Notifications(), (std::vector<std::uint32_t>{20, 500}));
}

TEST(AnswerScript, RefusesWhatIsNotAScript) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"notify", "line 1: not a number of milliseconds: \"\""},
      {"\n\nnotify -1", "line 3: not a number of milliseconds: \"-1\""},
      {"0x1000 0 0 = 1", "line 1: not a function or argument: \"\""},
      {"0x1000 0 0 0 0 = 1", "line 1: more than three arguments: \"0\""},
      {"0x1000 0 0 0 =", "line 1: not an answer: \"\""},
      {"0x1000 0 0 0 = 1,,2", "line 1: not an answer: \"\""},
      {"0x1000 0 0 0 = 0x100000000", "line 1: not an answer: \"0x100000000\""},
      {"0x1000 0 0 0 = 0x", "line 1: not an answer: \"0x\""},
      {"0x1000 0 0 0", "line 1: neither a call with answers nor notify: \"0x1000 0 0 0\""},
  };
  for (const auto& one : cases) {
    std::string error;
    EXPECT_FALSE(AnswerScript::Parse(one.text, &error)) << one.text;
    EXPECT_EQ(error, one.error);
  }
}

}  // namespace
