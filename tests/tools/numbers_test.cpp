#include "tools/numbers.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

TEST(NumbersTest, ReadsWords) {
  struct Case {
    const char* text;
    std::optional<std::uint32_t> word;
  };
  const Case cases[] = {{"0", 0},
                        {"31", 31},
                        {"0x40000401", 0x40000401},
                        {"0XffFFffFF", 0xFFFFFFFF},
                        {"4294967295", 0xFFFFFFFF},
                        {"010", 10},
                        {"", std::nullopt},
                        {"0x", std::nullopt},
                        {"0x100000000", std::nullopt},
                        {"4294967296", std::nullopt},
                        {"-1", std::nullopt},
                        {"1 ", std::nullopt},
                        {"12z", std::nullopt}};
  for (const Case& test : cases) EXPECT_EQ(ParseWord(test.text), test.word) << test.text;
}

TEST(NumbersTest, ReadsSignedWords) {
  struct Case {
    const char* text;
    std::optional<std::uint32_t> word;
  };
  const Case cases[] = {{"5", 5},
                        {"0x80004005", 0x80004005},
                        {"-2147467259", 0x80004005},
                        {"-1", 0xFFFFFFFF},
                        {"-2147483648", 0x80000000},
                        {"-2147483649", std::nullopt},
                        {"-0x1", std::nullopt},
                        {"--1", std::nullopt},
                        {"-", std::nullopt}};
  for (const Case& test : cases) EXPECT_EQ(ParseSignedWord(test.text), test.word) << test.text;
}

}  // namespace
}  // namespace tool
