#include "common/format.h"

#include <gtest/gtest.h>

#include "common/hresult.h"

using namespace Quorvex::PC::Common;

namespace {

template <typename... Args>
WideString Formatted(const WCHAR* format, const Args&... args) {
  WCHAR buffer[64];
  Format(buffer, format, args...);
  return buffer;
}

TEST(Format, ConvertsNumbersAsThePlatformPrintsThem) {
  EXPECT_EQ(Formatted(W("%u"), 0xFFFFFFFFu), W("4294967295"));
  EXPECT_EQ(Formatted(W("%u"), static_cast<HRESULT>(-1)), W("4294967295"));
  EXPECT_EQ(Formatted(W("0x%08x"), 1722), W("0x000006ba"));
  EXPECT_EQ(Formatted(W("%08xh"), static_cast<HRESULT>(0x800704C7)), W("800704c7h"));
  EXPECT_EQ(Formatted(W("%x %X"), 0xABCu, 0xABCu), W("abc ABC"));
  EXPECT_EQ(Formatted(W("%d|%5d|%05d"), -7, -7, -7), W("-7|   -7|-0007"));
  EXPECT_EQ(Formatted(W("%lu %llu"), 1u, std::uint64_t{18446744073709551615u}), W("1 18446744073709551615"));
}

TEST(Format, ConvertsTextAndKeepsWhatItDoesNotKnow) {
  EXPECT_EQ(Formatted(W("hkd04a7 %s enter\n"), W("Start")), W("hkd04a7 Start enter\n"));
  EXPECT_EQ(Formatted(W("%s"), static_cast<const WCHAR*>(nullptr)), W("(null)"));
  EXPECT_EQ(Formatted(W("%5s|%c%%"), W("ab"), W("x")[0]), W("   ab|x%"));
  // No argument left, an unknown conversion, a lone percent sign at the end: copied, nothing is read.
  EXPECT_EQ(Formatted(W("%u %q %"), 1u), W("1 %q %"));
  EXPECT_EQ(Formatted(W("%u %s")), W("%u %s"));
  // A number where text was announced stays readable.
  EXPECT_EQ(Formatted(W("%s"), 5u), W("5"));
}

TEST(Format, CutsAtTheBoundButNeverInsideASurrogatePair) {
  WCHAR buffer[5];
  EXPECT_TRUE(Format(buffer, W("abcd")));
  EXPECT_EQ(WideString(buffer), W("abcd"));
  EXPECT_FALSE(Format(buffer, W("abcde")));
  EXPECT_EQ(WideString(buffer), W("abcd"));
  const WCHAR pairAtTheEnd[] = {'a', 'b', 'c', 0xD83D, 0xDE00, 0};
  EXPECT_FALSE(Format(buffer, W("%s"), static_cast<const WCHAR*>(pairAtTheEnd)));
  EXPECT_EQ(WideString(buffer), W("abc"));
}

TEST(Hresult, FollowsTheRuleForEverySign) {
  EXPECT_EQ(HresultFromWin32(0), 0);
  EXPECT_EQ(static_cast<DWORD>(HresultFromWin32(126)), 0x8007007Eu);
  EXPECT_EQ(static_cast<DWORD>(HresultFromWin32(0x12345)), 0x80072345u);
  EXPECT_EQ(static_cast<DWORD>(HresultFromWin32(0x80004005)), 0x80004005u);
}

}  // namespace
