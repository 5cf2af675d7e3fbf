// Programs run for clients on the client's own session, with the token of its "winlogon.exe".
#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <iterator>

#include "auth/run_as_system.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/sessions.h"
#include "tests/auth/launches.h"

using namespace request_test;
using namespace Quorvex::PC::Hkd04a7::Service;
using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr const WCHAR* kTool = W("tool");

class ClientSession : public Launches {
 protected:
  void SetUp() override {
    Launches::SetUp();
    AllowShell(W("-c \"exit 4\""));
  }

  void ChangeWinLogon(unsigned session, json change) {
    change["session"] = session;
    ASSERT_EQ(service.Machine().Call("session.winlogon", change), 0u);
  }
  RunAnswer RunHere() {
    TakeLog();
    return Run(RUN_FILE_IN_CLIENT_SESSION, kTool);
  }
  void ExpectNoToken(const RunAnswer& answer, DWORD error) {
    EXPECT_EQ(answer, (RunAnswer{0x80070000 | error, 0}));
    char line[64];
    std::snprintf(line, sizeof line, "hkd04a7, fail get token=0x%08x\n", error);
    EXPECT_THAT(TakeLog(), Contains(line));
    EXPECT_TRUE(Started().empty());
  }
};

host::TokenFacts SystemOn(std::uint32_t session) {
  host::TokenFacts token = host::SystemToken();
  token.session = session;
  return token;
}

TEST_F(ClientSession, GivesItsSystemTokenToTheProgram) {
  EXPECT_EQ(RunHere(), (RunAnswer{0, 4}));
  EXPECT_THAT(TakeLog(),
              ElementsAre(testing::_, testing::_, testing::_, testing::_, "hkd04a7, GetWinLogonExeProcessId, sid=2\n",
                          MatchesRegex("hkd04a7, GetWinLogonExeToken, pid=[0-9]+, name=winlogon.exe\n"),
                          " exit with hr=00000000, code=00000004h\n"));
  host::TokenFacts ada = Ada();
  ada.packageFamilyName = kPackageName;
  EXPECT_EQ(RunAs(ada, RUN_FILE_IN_CLIENT_SESSION, kTool), (RunAnswer{0, 4}));
  EXPECT_EQ(RunAs(ada, RUN_FILE_IN_CLIENT_SESSION | RUN_FILE_NO_WAIT, kTool), (RunAnswer{0, 0}));
  const auto programs = Started();
  ASSERT_EQ(programs.size(), 3u);
  EXPECT_EQ(programs[0].at("token"), host::ToJson(SystemOn(2)));
  EXPECT_EQ(programs[1].at("token"), host::ToJson(SystemOn(1)));
  EXPECT_EQ(programs[2].at("token"), host::ToJson(SystemOn(1)));
}

TEST_F(ClientSession, HasAWinLogonInAnyLetterCase) {
  ChangeWinLogon(2, {{"name", "WinLogon.EXE"}});
  EXPECT_EQ(RunHere(), (RunAnswer{0, 4}));
  EXPECT_THAT(TakeLog(), Contains(HasSubstr("name=WinLogon.EXE\n")));
}

TEST_F(ClientSession, WithoutAWinLogonOfTheSystemStartsNothing) {
  ChangeWinLogon(2, {{"present", false}});
  ExpectNoToken(RunHere(), ERROR_NOT_FOUND);
  ChangeWinLogon(2, {{"present", true}, {"system", false}});
  ExpectNoToken(RunHere(), ERROR_NOT_FOUND);
  ChangeWinLogon(2, {{"system", true}, {"name", "winlogon2.exe"}});
  ExpectNoToken(RunHere(), ERROR_NOT_FOUND);
  // Session 0 has none at all.
  host::TokenFacts client = BobIn(kPackageName);
  client.session = 0;
  TakeLog();
  ExpectNoToken(RunAs(client, RUN_FILE_IN_CLIENT_SESSION, kTool), ERROR_NOT_FOUND);
  client.session = 0xFFFFFFFF;
  TakeLog();
  ExpectNoToken(RunAs(client, RUN_FILE_IN_CLIENT_SESSION, kTool), ERROR_NOT_FOUND);
}

TEST_F(ClientSession, SkipsAProgramThatOnlyCallsItselfWinLogon) {
  std::filesystem::copy_file("/bin/sleep", File("winlogon.exe"));
  ASSERT_EQ(service.Machine().Call("process.run", {{"program", File("winlogon.exe")},
                                                   {"arguments", {"600"}},
                                                   {"identity", {{"user", "bob"}, {"session", 2}}}}),
            0u);
  EXPECT_EQ(RunHere(), (RunAnswer{0, 4}));
  std::size_t looks = 0;
  for (const std::string& line : TakeLog()) looks += line.find("name=winlogon.exe") != std::string::npos ? 1 : 0;
  EXPECT_EQ(looks, 2u) << "Bob's program comes first";
  EXPECT_EQ(Started().back().at("token"), host::ToJson(SystemOn(2)));
}

// What the enumeration below answers.
WCHAR g_winLogon[] = W("winlogon.exe");
WTS_PROCESS_INFOW g_records[] = {{2, 0, nullptr, nullptr}, {2, 0, g_winLogon, nullptr}, {1, 0, g_winLogon, nullptr}};

BOOL WINAPI EnumerateRecords(HANDLE, DWORD*, DWORD, LPWSTR* processInfo, DWORD* count) {
  *processInfo = reinterpret_cast<LPWSTR>(g_records);
  *count = static_cast<DWORD>(std::size(g_records));
  return TRUE;
}

BOOL WINAPI FreeRecords(WTS_TYPE_CLASS, PVOID, ULONG) {
  return TRUE;
}

template <typename Function>
FARPROC Export(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

TEST_F(ClientSession, TakesNoProcessOfAnotherSession) {
  host::TokenFacts ada = Ada();
  ada.packageFamilyName = kPackageName;
  ASSERT_EQ(RunAs(ada, RUN_FILE_IN_CLIENT_SESSION, kTool), (RunAnswer{0, 4}));
  for (const std::string& line : TakeLog()) {
    std::sscanf(line.c_str(), "hkd04a7, GetWinLogonExeToken, pid=%u", &g_records[2].ProcessId);
  }
  ASSERT_NE(g_records[2].ProcessId, 0u);
  host::RegisterSystemModule(u"wtsapi32.dll", {{"WTSEnumerateProcessesExW", Export(EnumerateRecords)},
                                               {"WTSFreeMemoryExW", Export(FreeRecords)}});
  EXPECT_EQ(RunHere().result, 0x80070057u) << "a process without a number is the last that was looked at";
  EXPECT_EQ(Started().size(), 1u);
  EXPECT_THAT(TakeLog(), testing::IsSupersetOf({HasSubstr("pid=0, name=(null)\n"), HasSubstr("name=winlogon.exe\n")}));
  EXPECT_EQ(RunAs(ada, RUN_FILE_IN_CLIENT_SESSION, kTool), (RunAnswer{0, 4})) << "it is Ada's session";
}

TEST_F(ClientSession, AnswersWhyThereIsNoToken) {
  const struct {
    const char* function;
    unsigned nth;
    DWORD code;
  } cases[] = {
      {"RpcImpersonateClient", 2, 1725},  // the first is the capability check's
      {"OpenThreadToken", 2, 8},
      {"GetTokenInformation", 1, 6},  // the session
      {"WTSEnumerateProcessesExW", 1, 1722},
      {"OpenProcess", 1, 5},  // of the check
      {"OpenProcessToken", 1, 5},
      {"GetTokenInformation", 2, 8},  // the user's size, the user
      {"GetTokenInformation", 3, 8},
      {"OpenProcess", 2, 87},  // of the duplication
      {"OpenProcessToken", 2, 5},
      {"DuplicateTokenEx", 1, 1346},
  };
  for (const auto& entry : cases) {
    host::FailCall(entry.function, entry.nth, entry.code);
    ExpectNoToken(RunHere(), entry.code);
  }
  for (const char* name : {"WTSEnumerateProcessesExW", "WTSFreeMemoryExW"}) {
    host::TakeAwayExport(u"wtsapi32.dll", name);
    ExpectNoToken(RunHere(), ERROR_NOT_SUPPORTED);
    host::RestoreModules();
  }
  host::TakeAwayModule(u"wtsapi32.dll");
  ExpectNoToken(RunHere(), ERROR_NOT_SUPPORTED);
  EXPECT_EQ(Run(0, kTool), (RunAnswer{0, 4})) << "the service's own session needs no terminal services";
  host::RestoreModules();
  EXPECT_EQ(RunHere(), (RunAnswer{0, 4}));
}

}  // namespace
