// Users and sessions, as the tool changes them.
#include <gmock/gmock.h>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class PeopleTest : public ToolTest {
 protected:
  void SetUp() override { Done({"up", "--no-service"}); }
};

TEST_F(PeopleTest, SessionsAreEnteredLeftAndComeBack) {
  Done({"logon", "anna"});
  Done({"logon", "bob", "--remote"});
  EXPECT_THAT(Done({"status"}), HasSubstr("2  active, remote, bob"));
  Done({"disconnect", "1"});
  EXPECT_THAT(Done({"status"}), HasSubstr("1  disconnected, anna"));
  Done({"disconnect", "2"});
  Done({"connect", "2"});
  EXPECT_THAT(Done({"status"}), HasSubstr("2  active, bob, at the console"));
  Done({"connect", "1", "--remote"});
  EXPECT_THAT(Done({"status"}), HasSubstr("1  active, remote, anna"));
  Done({"logoff", "2"});
  Done({"logon", "carl", "--session", "2"});
  EXPECT_THAT(Done({"status"}), HasSubstr("2  active, carl, at the console"));
}

TEST_F(PeopleTest, SaysWhatCannotBe) {
  Done({"logon", "anna"});
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* words;
  };
  const Case cases[] = {
      {{"logon", "bob", "--session", "1"}, 1, "the session is taken"},
      {{"logon", "bob", "--session", "9"}, 1, "there is no such session"},
      {{"logon", "a/b"}, 1, "cannot be a user's name"},
      {{"user", "add", ""}, 1, "cannot be a user's name"},
      {{"user", "add", "\xff"}, 2, "not UTF-8"},
      {{"logon", "bob", "--session", "1", "--remote"}, 2, "excludes"},
      {{"logon", "bob", "--session", "-1"}, 2, "not a number"},
      {{"connect", "1"}, 1, "the session is taken"},
      {{"disconnect", "0"}, 1, "there is no such session"},
      {{"winlogon", "0", "--missing"}, 1, "no such session"},
      {{"winlogon", "1"}, 2, "required"},
      {{"winlogon", "1", "--missing", "--restore"}, 2, "required"},
  };
  for (const Case& test : cases) {
    const ToolResult result = Run(test.arguments);
    EXPECT_EQ(result.exitCode, test.exitCode) << testing::PrintToString(test.arguments) << result.output;
    EXPECT_THAT(result.output, HasSubstr(test.words));
  }
}

TEST_F(PeopleTest, EachSessionHasItsOwnProcess) {
  Done({"logon", "anna", "--remote"});
  EXPECT_THAT(Done({"status"}), AllOf(HasSubstr("winlogon.exe  (LocalSystem, session 1)"),
                                      HasSubstr("winlogon.exe  (LocalSystem, session 2)")));
  Done({"winlogon", "1", "--missing"});
  Done({"winlogon", "2", "--name", "Other.exe"});
  EXPECT_THAT(Done({"status"}),
              AllOf(Not(HasSubstr("winlogon.exe")), HasSubstr("Other.exe  (LocalSystem, session 2)")));
  for (const char* session : {"1", "2"}) Done({"winlogon", session, "--restore"});
  Done({"winlogon", "2", "--not-system"});
  EXPECT_THAT(Done({"status"}), AllOf(HasSubstr("winlogon.exe  (LocalSystem, session 1)"),
                                      HasSubstr("winlogon.exe  (S-1-5-19, session 2)")));
}

// An account has its SID for good, whether it ever was logged on or not.
TEST_F(PeopleTest, AccountsStay) {
  const std::string added = Done({"user", "add", "bob", "--json"});
  EXPECT_EQ(Done({"user", "add", "BOB", "--json"}), added);
  Done({"logon", "bob"});
  Done({"reboot"});
  EXPECT_EQ(Done({"user", "list", "--json"}), added);
  EXPECT_THAT(Done({"status"}), Not(HasSubstr("bob")));
}

}  // namespace
}  // namespace tool
