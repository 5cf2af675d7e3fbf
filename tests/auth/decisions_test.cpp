// What is decided without asking the system.
#include <gtest/gtest.h>

#include "auth/command_allow_list.h"
#include "auth/create_process_as_system.h"
#include "auth/winlogon_token.h"

using namespace Quorvex::PC::Hkd04a7::Service;
using namespace std::string_view_literals;

namespace {

TEST(AllowList, DecodesTheFirstTwoStrings) {
  const struct {
    WideStringView data;
    WideString application, parameters;
  } cases[] = {
      {u""sv, u"", u""},
      {u"\0"sv, u"", u""},
      {u"\0\0"sv, u"", u""},
      {u"\0-a\0\0"sv, u"", u"-a"},
      {u"C:\\t.exe\0\0"sv, u"C:\\t.exe", u""},
      {u"C:\\t.exe\0"sv, u"C:\\t.exe", u""},
      {u"C:\\t.exe"sv, u"C:\\t.exe", u""},
      {u"C:\\t.exe\0-a \"b\"\0\0"sv, u"C:\\t.exe", u"-a \"b\""},
      {u"C:\\t.exe\0-a"sv, u"C:\\t.exe", u"-a"},
      {u"C:\\t.exe\0-a\0-b\0\0"sv, u"C:\\t.exe", u"-a"},
      {u"C:\\t.exe\0\0-b\0\0"sv, u"C:\\t.exe", u""},
  };
  for (const auto& entry : cases) {
    const AllowedCommand command = DecodeAllowedCommand(entry.data);
    EXPECT_EQ(command.application, entry.application);
    EXPECT_EQ(command.parameters, entry.parameters);
  }
}

TEST(CommandLine, QuotesTheApplicationAndNothingElse) {
  EXPECT_EQ(FormatCommandLine({W("C:\\a b\\t.exe"), W("")}), W("\"C:\\a b\\t.exe\" "));
  EXPECT_EQ(FormatCommandLine({W("t.exe"), W("-a \"b")}), W("\"t.exe\" -a \"b"));
  EXPECT_EQ(FormatCommandLine({W("t.exe"), W(" -b")}), W("\"t.exe\"  -b"));
}

TEST(WinLogon, IsKnownByItsNameInAnyLetterCase) {
  for (const WCHAR* name : {W("winlogon.exe"), W("WINLOGON.EXE"), W("WinLogon.exe")}) EXPECT_TRUE(IsWinLogonExe(name));
  for (const WCHAR* name : {W(""), W("winlogon"), W("winlogon.exe "), W("xwinlogon.exe"), W("winlogon.ex"),
                            W("winlogon.exe.exe"), W("winlogonNexe"), W("w\u0131nlogon.exe")}) {
    EXPECT_FALSE(IsWinLogonExe(name));
  }
  EXPECT_FALSE(IsWinLogonExe(nullptr));
}

}  // namespace
