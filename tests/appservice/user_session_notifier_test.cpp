// The user-session notifier over a machine with two users: who is told, and how every step can fail.
#include "appservice/user_session_notifier.h"

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "tests/support/user_sessions.h"

using namespace Quorvex::PC::Hkd04a7;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

namespace {

class UserSessionNotifier : public support::UserSessions {
 protected:
  UserSessionNotifier() { host::SetExecutablePath(u"/bin/true"); }

  // The lines of one event behind the first, of a service that has just bound the terminal-services functions.
  Lines Notify(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
    Service::CWtsSessionApi wtsApi;
    wtsApi.LoadAndBind();
    UwpAssistNotify(wtsApi, eventId, data1, data2);
    Lines lines = log.Take();
    EXPECT_THAT(lines.at(0), testing::StartsWith("hkd04a7 - uwpassist notify enter (" + std::to_string(eventId)));
    lines.erase(lines.begin());
    return lines;
  }
};

TEST_F(UserSessionNotifier, TellsOneUserWhoIsRegistered) {
  for (const char* key : {"41", "38-1", "36-4294967295", "37"}) Register(bobSid, key);
  for (const char* key : {"38", "37-0", "42-7"}) Register(adaSid, key);
  const struct {
    std::uint32_t eventId, data1, data2;
    const char* started;
  } cases[] = {{38, 1, 2, "ada 1: \"/bin/true\" -appservice -event 38 -data1 1 -data2 2"},  // and Bob is not
               {37, 0, 0, "ada 1 below: \"/bin/true\" -appservice -event 37 -data1 0 -data2 0"},
               {41, 5, 2, "bob 2 below: \"/bin/true\" -appservice -event 41 -data1 5 -data2 2"},
               {42, 7, 4294967295, "ada 1: \"/bin/true\" -appservice -event 42 -data1 7 -data2 4294967295"},
               {42, 8, 0, nullptr},            // another data1
               {41, 5, 1, nullptr},            // Ada's session
               {36, 4294967295, 0, nullptr}};  // Bob alone
  for (const auto& entry : cases) {
    EXPECT_EQ(Notify(entry.eventId, entry.data1, entry.data2),
              entry.started ? Lines{} : Lines{"hkd04a7, not need notify\n"});
    EXPECT_EQ(TakeStarted(), entry.started ? Lines{entry.started} : Lines{}) << entry.eventId << " " << entry.data1;
  }
  ASSERT_EQ(machine.Call("session.disconnect", {{"session", 1}}), 0u);
  EXPECT_THAT(Notify(36, 4294967295, 0), IsEmpty()) << "Bob's is the first active session now";
  ASSERT_EQ(machine.Call("session.disconnect", {{"session", 2}}), 0u);
  EXPECT_THAT(Notify(38, 1, 2), ElementsAre(testing::StartsWith("hkd04a7, fail dup token=0x")));
  EXPECT_EQ(TakeStarted().size(), 1u);
}

TEST_F(UserSessionNotifier, DoesWithoutTheFunctionsThatAreMissing) {
  for (const char* key : {"38", "41"}) Register(adaSid, key);
  for (const char* function : {"WTSEnumerateSessionsW", "WTSFreeMemory", "WTSQueryUserToken"}) {
    host::TakeAwayExport(u"wtsapi32.dll", function);
    EXPECT_THAT(Notify(38, 1, 2), ElementsAre(testing::StartsWith("hkd04a7, fail dup token=0x"))) << function;
    EXPECT_EQ(Notify(41, 5, 1).empty(), function != std::string("WTSQueryUserToken"));
    host::RestoreModules();
  }
  EXPECT_EQ(TakeStarted().size(), 2u);
}

// Calls that fail, and the lines that come of it; without lines the program is started all the same.
const struct {
  std::vector<std::pair<const char*, DWORD>> calls;
  Lines lines;
} kFailures[] = {
    {{{"WTSEnumerateSessionsW", 1722}}, {"dup token=0x000006ba"}},
    {{{"WTSQueryUserToken", 1008}}, {"get token=0x000003f0", "dup token=0x000003f0"}},
    {{{"WTSQueryUserToken", 5}}, {}},  // had with the privilege
    {{{"WTSQueryUserToken", 1314}, {"WTSQueryUserToken", 7022}}, {"get token=0x00001b6e", "dup token=0x00001b6e"}},
    {{{"WTSQueryUserToken", 5}, {"OpenProcessToken", 6}}, {"get token=0x00000005", "dup token=0x00000006"}},
    {{{"WTSQueryUserToken", 5}, {"LookupPrivilegeValueW", 1313}}, {"get token=0x00000005", "dup token=0x00000521"}},
    {{{"WTSQueryUserToken", 5}, {"AdjustTokenPrivileges", 87}}, {"get token=0x00000005", "dup token=0x00000057"}},
    {{{"DuplicateTokenEx", 1346}}, {"dup token=0x00000542", "dup token=0x00000542"}},
    {{{"CreateEnvironmentBlock", 8}}, {"get env=0x00000008"}},
    {{{"GetModuleFileNameW", 8}}, {"get self path, length=0, error=0x00000008"}},
    {{{"CreateProcessAsUserW", 2}}, {"start=0x00000002"}},
};

TEST_F(UserSessionNotifier, LogsTheStepThatFailsAndReleasesEverything) {
  Register(adaSid, "38");
  int enabled = 0;
  host::AtCall("AdjustTokenPrivileges", [&] { ++enabled; });
  for (int round = 0; round < 2; ++round) EXPECT_THAT(Notify(38, 1, 2), IsEmpty());
  EXPECT_EQ(enabled, 1) << "the privilege stays enabled";
  TakeStarted();
  for (const auto& entry : kFailures) {
    for (unsigned i = 0; i < entry.calls.size(); ++i) {
      const bool again = i > 0 && entry.calls[0].first == entry.calls[i].first;
      host::FailCall(entry.calls[i].first, again ? 2 : 1, entry.calls[i].second);
    }
    Lines expected;
    for (const std::string& line : entry.lines) expected.push_back("hkd04a7, fail " + line + "\n");
    EXPECT_EQ(Notify(38, 1, 2), expected) << entry.calls.back().first;
    EXPECT_EQ(TakeStarted().size(), entry.lines.empty() ? 1u : 0u) << entry.calls.back().first;
    host::ClearFaults();
  }
  for (const char* function : {"GetTokenInformation", "RegOpenKeyExW", "RegQueryInfoKeyW"}) {
    host::FailCall(function, 1, 5);
    EXPECT_THAT(Notify(38, 1, 2), ElementsAre("hkd04a7, not need notify\n")) << function;
  }
  host::SetExecutablePath(std::u16string(260, 'p'));
  EXPECT_THAT(Notify(38, 1, 2), ElementsAre("hkd04a7, fail get self path, length=260, error=0x0000007a\n"));
  host::SetExecutablePath(std::u16string(259, 'p'));
  EXPECT_THAT(Notify(38, 1, 2), ElementsAre("hkd04a7, fail make command line\n"));
}

TEST_F(UserSessionNotifier, DoesNotAskAgainWithAPrivilegeThatIsNotThere) {
  host::SetOwnToken(host::TokenFacts{.userSid = adaSid, .session = 1, .packageFamilyName = {}, .capabilities = {}});
  EXPECT_THAT(Notify(41, 5, 1),
              ElementsAre("hkd04a7, fail get token=0x00000522\n", "hkd04a7, fail dup token=0x00000514\n"));
}

}  // namespace
