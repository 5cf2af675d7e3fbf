#include "tools/registry_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using Words = std::vector<std::string>;

TEST(RegistryPathTest, ReadsPaths) {
  struct Case {
    const char* text;
    HKEY root;
    const char16_t* subKey;
  };
  const Case cases[] = {{"HKLM\\Software\\Quorvex", HKEY_LOCAL_MACHINE, u"Software\\Quorvex"},
                        {"hkey_local_machine\\Software\\", HKEY_LOCAL_MACHINE, u"Software"},
                        {"HKCU/Software/x", HKEY_CURRENT_USER, u"Software\\x"},
                        {"HKCU\\Software\\a/b", HKEY_CURRENT_USER, u"Software\\a/b"},
                        {"HKU", HKEY_USERS, u""}};
  for (const Case& test : cases) {
    const auto path = ParseRegistryPath(test.text);
    ASSERT_TRUE(path) << test.text;
    EXPECT_EQ(path->root, test.root) << test.text;
    EXPECT_EQ(path->subKey, test.subKey) << test.text;
  }
  using namespace std::string_view_literals;
  for (const auto wrong : {""sv, "\\HKLM"sv, "HKXX\\a"sv, "Software"sv, "HKLM\\a\0b"sv})
    EXPECT_FALSE(ParseRegistryPath(wrong)) << wrong;
}

TEST(RegistryValueTest, ReadsWhatPeopleWrite) {
  struct Case {
    DWORD type;
    Words words;
    std::vector<BYTE> data;
  };
  const Case cases[] = {{REG_DWORD, {"0x01020304"}, {4, 3, 2, 1}},
                        {REG_DWORD, {"1"}, {1, 0, 0, 0}},
                        {REG_QWORD, {"0x100000000"}, {0, 0, 0, 0, 1, 0, 0, 0}},
                        {REG_SZ, {"a\xC3\xA9"}, {'a', 0, 0xE9, 0, 0, 0}},
                        {REG_SZ, {""}, {0, 0}},
                        {REG_MULTI_SZ, {"a", "b"}, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}},
                        {REG_MULTI_SZ, {}, {0, 0}},
                        {REG_BINARY, {"00ffA0"}, {0, 0xFF, 0xA0}},
                        {REG_DWORD, {"hex:0102"}, {1, 2}},
                        {77, {"0a"}, {10}}};
  for (const Case& test : cases) {
    const auto value = ParseValue(test.type, test.words);
    ASSERT_TRUE(value) << test.type;
    EXPECT_EQ(value->data, test.data) << test.type;
  }
  EXPECT_FALSE(ParseValue(REG_DWORD, {"4294967296"}));
  EXPECT_FALSE(ParseValue(REG_DWORD, {"1", "2"}));
  EXPECT_FALSE(ParseValue(REG_BINARY, {"abc"}));
  EXPECT_FALSE(ParseValue(REG_BINARY, {"zz"}));
  EXPECT_FALSE(ParseValue(REG_MULTI_SZ, {"a", ""}));
}

// Export and import rest on this.
TEST(RegistryValueTest, LosesNothingOnTheWayOutAndBack) {
  const RegistryValue values[] = {
      {REG_DWORD, {1, 2, 3, 4}},
      {REG_DWORD, {1, 2, 3}},  // too short for its type
      {REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8}},
      {REG_SZ, {'a', 0, 0, 0}},
      {REG_SZ, {'a', 0}},  // no terminator
      {REG_SZ, {}},
      {REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}},            // a terminator inside
      {REG_SZ, {'a'}},                                   // half a character
      {REG_SZ, {0x00, 0xD8, 0, 0}},                      // half a surrogate pair
      {REG_SZ, {'h', 0, 'e', 0, 'x', 0, ':', 0, 0, 0}},  // looks like the escape
      {REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0}},
      {REG_MULTI_SZ, {'a', 0, 0, 0}},
      {REG_MULTI_SZ, {0, 0, 'a', 0, 0, 0, 0, 0}},
      {REG_MULTI_SZ, {}},
      {REG_BINARY, {}},
      {REG_BINARY, {0, 255}},
      {REG_NONE, {9}},
      {1234, {1, 2, 3}},
  };
  for (const RegistryValue& value : values) {
    const Words words = ValueWords(value);
    const auto back = ParseValue(value.type, words);
    ASSERT_TRUE(back) << value.type << ' ' << testing::PrintToString(words);
    EXPECT_EQ(*back, value) << value.type << ' ' << testing::PrintToString(words);
  }
}

TEST(RegistryValueTest, NamesTypes) {
  for (const DWORD type : {REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, REG_QWORD, 1234u})
    EXPECT_EQ(ParseType(TypeName(type)), type);
  EXPECT_FALSE(ParseType("string"));
}

}  // namespace
}  // namespace tool
