#include "tools/grant_text.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

RegistryValue Value(DWORD type, const std::vector<std::string>& words) {
  return ParseValue(type, words).value();
}

TEST(GrantTextTest, SaysWhatTheServiceWouldMakeOfAValue) {
  struct Case {
    RegistryValue value;
    std::string (*text)(const RegistryValue&);
    const char* expected;
  };
  const Case cases[] = {
      {Value(REG_DWORD, {"1"}), GrantText, "0x00000001, may run commands as system"},
      {Value(REG_DWORD, {"0xFFFFFFFF"}), GrantText, "0xffffffff, may run commands as system"},
      {Value(REG_DWORD, {"2"}), GrantText, "0x00000002, grants nothing: bit 0 is clear"},
      {Value(REG_QWORD, {"1"}), GrantText, "qword 0x0000000000000001, counts as absent: not a dword"},
      {Value(REG_SZ, {"1"}), GrantText, "sz 1, counts as absent: not a dword"},
      {Value(REG_DWORD, {"hex:01"}), GrantText, "dword hex:01, counts as absent: not a dword"},
      {Value(REG_MULTI_SZ, {"/bin/id"}), CommandText, "/bin/id"},
      {Value(REG_MULTI_SZ, {"/bin/id", "-u -n", "ignored"}), CommandText, "/bin/id -u -n"},
      {Value(REG_MULTI_SZ, {}), CommandText, "counts as absent: names no program"},
      {Value(REG_SZ, {"/bin/id"}), CommandText, "sz /bin/id, counts as absent: not a multi"},
  };
  for (const Case& test : cases) EXPECT_EQ(test.text(test.value), test.expected);
}

}  // namespace
}  // namespace tool
