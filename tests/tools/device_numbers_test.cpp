#include "tools/device_numbers.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

TEST(DeviceNumbersTest, ReadsButtons) {
  using Kind = ButtonPress::Kind;
  struct Case {
    const char* text;
    Kind kind;
    std::uint32_t number;
  };
  const Case cases[] = {{"1", Kind::Switch, 1},           {"31", Kind::Switch, 31},
                        {"0x5", Kind::SwitchMask, 5},     {"0x7FFFFFFF", Kind::SwitchMask, 0x7FFFFFFF},
                        {"one-touch", Kind::OneTouch, 0}, {"ir", Kind::IrOpe, 0}};
  for (const Case& test : cases) {
    const auto press = ParseButton(test.text);
    ASSERT_TRUE(press) << test.text;
    EXPECT_EQ(press->kind, test.kind) << test.text;
    EXPECT_EQ(press->number, test.number) << test.text;
  }
  for (const char* wrong : {"0", "32", "0x0", "0x80000000", "onetouch", "", "1,2"})
    EXPECT_FALSE(ParseButton(wrong)) << wrong;
}

TEST(DeviceNumbersTest, ReadsBitAnswers) {
  const auto answer = ParseBitAnswer("30=0x22");
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->bit, 30u);
  EXPECT_EQ(answer->word, 0x22u);
  for (const char* wrong : {"31=1", "=1", "1=", "1", "1=2=3"}) EXPECT_FALSE(ParseBitAnswer(wrong)) << wrong;
}

TEST(DeviceNumbersTest, ReadsScripts) {
  const auto script = ParseRawScript({"0x101C", "3", "2", "0", "=", "0", "fail", "always", "7"});
  ASSERT_TRUE(script);
  EXPECT_EQ(script->call, (machine::DeviceFunction{0x101C, 3, 2, 0}));
  EXPECT_EQ(script->answers, (std::vector<machine::DeviceAnswer>{{1, 0}, {0, 0}}));
  EXPECT_EQ(script->lasting, (machine::DeviceAnswer{1, 7}));

  const std::vector<std::string> wrong[] = {
      {},
      {"1", "2", "3", "4", "="},
      {"1", "2", "3", "4", "5", "="},
      {"1", "2", "3", "=", "4", "5"},
      {"1", "2", "3", "4", "=", "always"},
      {"1", "2", "3", "4", "=", "always", "1", "2"},
      {"x", "2", "3", "4", "=", "1"},
  };
  for (const auto& words : wrong) EXPECT_FALSE(ParseRawScript(words)) << words.size();
}

}  // namespace
}  // namespace tool
