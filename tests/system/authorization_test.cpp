// Who may have what run as system, and where: the caller, the service and the program are three processes with three
// identities.
#include <gmock/gmock.h>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kNode = "HKLM\\System\\CurrentControlSet\\Enum\\ACPI\\QVX04A7\\0";

class AuthorizationTest : public ToolTest {
 protected:
  // The service is in session 0, anna at the console, bob in a session of his own.
  void SetUp() override {
    Done({"up"});
    Done({"logon", "anna"});
    Done({"logon", "bob", "--remote"});
  }

  ToolResult Ask(const std::string& user, const std::vector<std::string>& arguments) {
    return RunAs({"--user", user, "--package", kPackage}, Joined({"run-as-system"}, arguments));
  }
};

TEST_F(AuthorizationTest, ChangesHoldFromTheNextCallOn) {
  const std::vector<std::string> command = {"Leave", "5"};
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: capability bit"));
  Done({"caps", "grant", kPackage});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: allow-list"));
  Done({"allow", "add", "leave", "/bin/sh", "--", "-c \"exit $0\""});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("exit code 5"));
  Done({"allow", "remove", "LEAVE"});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: allow-list"));
  Done({"caps", "grant", kPackage, "0xfffffffe"});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: capability bit"));
  Done({"caps", "grant", kPackage});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: allow-list"));
  Done({"caps", "revoke", kPackage});
  EXPECT_THAT(Ask("anna", command).output, HasSubstr("gate: capability bit"));
  for (const auto& gone : {std::vector<std::string>{"caps", "revoke", kPackage}, {"allow", "remove", "leave"}}) {
    const ToolResult again = Run(gone);
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_THAT(again.output, HasSubstr("2 (ERROR_FILE_NOT_FOUND"));
  }
}

TEST_F(AuthorizationTest, TheTablesSayWhatDoesNotCount) {
  EXPECT_EQ(Done({"caps", "list"}), "");
  Done({"caps", "grant", kPackage, "2"});
  Done({"allow", "add", "id", "/usr/bin/id", "--", "-u"});
  const std::string extension =
      "HKLM\\System\\CurrentControlSet\\Control\\Class\\{4d36e97d-e325-11ce-bfc1-08002be10318}\\0000\\Extension";
  Done({"reg", "set", extension + "\\RestrictedRpc", "Odd.App_1", "1"});
  Done({"reg", "set", extension + "\\Command", "odd", "/bin/true"});
  EXPECT_THAT(Done({"caps", "list"}),
              AllOf(HasSubstr("grants nothing: bit 0 is clear"), HasSubstr("sz 1, counts as absent: not a dword")));
  EXPECT_THAT(Done({"allow", "list"}),
              AllOf(HasSubstr("/usr/bin/id -u"), HasSubstr("sz /bin/true, counts as absent: not a multi")));
  EXPECT_THAT(Ask("anna", {"odd"}).output, HasSubstr("gate: capability bit"));
  EXPECT_EQ(Run({"allow", "add", "id", "id"}).exitCode, 2) << "no path";
  EXPECT_EQ(Run({"caps", "grant", kPackage, "x"}).exitCode, 2);
}

// The only device is pulled out: nobody is granted anything, and nothing can be granted.
TEST_F(AuthorizationTest, WithoutADeviceNobodyMay) {
  Done({"caps", "grant", kPackage});
  Done({"reg", "set", kNode, "Unplugged", "1", "--type", "dword"});
  Done({"reboot"});
  ASSERT_TRUE(AwaitState(kRunning));
  Done({"logon", "anna"});
  EXPECT_THAT(Ask("anna", {"leave"}).output, HasSubstr("gate: capability bit"));
  for (const char* table : {"caps", "allow"}) {
    const ToolResult list = Run({table, "list"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_THAT(list.output, HasSubstr("no device of the driver service hkd04a7 is present"));
  }
}

// Programs run as LocalSystem, in the service's session or the caller's, never as the caller.
TEST_F(AuthorizationTest, TheProgramsSessionIsTheServicesOrTheCallers) {
  const std::string gate = Machine() + "/gate";
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "hold", "/bin/sh", "--", "-c \"until [ -e '" + gate + "' ]; do sleep 0.02; done\""});
  Ask("bob", {"hold", "--no-wait"});
  Ask("bob", {"hold", "--no-wait", "--client-session"});
  Ask("anna", {"hold", "--no-wait", "--client-session"});
  std::vector<unsigned> sessions;
  const json status = Status();
  for (const json& process : status.at("processes")) {
    if (process.at("program") != "/bin/sh") continue;
    EXPECT_EQ(process.at("token").at("system"), true);
    EXPECT_EQ(process.at("token").at("userSid"), "S-1-5-18");
    sessions.push_back(process.at("token").at("session").get<unsigned>());
  }
  EXPECT_THAT(sessions, testing::UnorderedElementsAre(0u, 2u, 1u));
  EXPECT_EQ(std::system(("touch '" + gate + "'").c_str()), 0);
}

TEST_F(AuthorizationTest, TheCallersSessionNeedsItsSystemProcess) {
  Done({"caps", "grant", kPackage});
  Done({"allow", "add", "leave", "/bin/sh", "--", "-c \"exit 6\""});
  const std::string started = "started in session 2", code = "exit code 6";
  const auto ask = [&] { return Ask("bob", {"leave", "--client-session"}).output; };
  EXPECT_THAT(ask(), AllOf(HasSubstr(started), HasSubstr(code)));
  for (const auto& change : {std::vector<std::string>{"--missing"}, {"--not-system"}, {"--name", "winlogon"}}) {
    Done(Joined({"winlogon", "2"}, change));
    const ToolResult refused = Ask("bob", {"leave", "--client-session"});
    EXPECT_EQ(refused.exitCode, 1) << change[0] << refused.output;
    EXPECT_THAT(Ask("anna", {"leave", "--client-session"}).output, HasSubstr(code)) << "the other session has its own";
    EXPECT_THAT(Ask("bob", {"leave"}).output, HasSubstr("started in session 0"));
    Done({"winlogon", "2", "--restore"});
    EXPECT_THAT(ask(), HasSubstr(started));
  }
  Done({"winlogon", "2", "--name", "WinLogon.EXE"});
  EXPECT_THAT(ask(), HasSubstr(started));
}

}  // namespace
}  // namespace tool
