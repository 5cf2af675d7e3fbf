// The processes of a session, through the module "wtsapi32.dll".
#include <fstream>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/security/sid.h"
#include "platform/modules.h"
#include "platform/sessions.h"
#include "tests/platform/process_fixture.h"

namespace {

using machine_test::Ask;
using nlohmann::json;

class SessionProcessesTest : public ProcessTest {
 protected:
  void SetUp() override {
    ProcessTest::SetUp();
    module_ = LoadLibraryExW(W("wtsapi32.dll"), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    ASSERT_NE(module_, nullptr);
    enumerate_ = Entry<decltype(&WTSEnumerateProcessesExW)>("WTSEnumerateProcessesExW");
    free_ = Entry<decltype(&WTSFreeMemoryExW)>("WTSFreeMemoryExW");
    ASSERT_TRUE(enumerate_ && free_);
  }
  void TearDown() override {
    FreeLibrary(module_);
    host::RestoreModules();
    ProcessTest::TearDown();
  }

  template <typename Function>
  Function Entry(const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module_, name)));
  }

  // "session name SID" of each record, in their order; the numbers ascend.
  std::vector<std::string> Records(DWORD session) {
    DWORD level = 0;
    DWORD count = 0;
    LPWSTR memory = nullptr;
    EXPECT_TRUE(enumerate_(WTS_CURRENT_SERVER_HANDLE, &level, session, &memory, &count)) << GetLastError();
    std::vector<std::string> records;
    const auto* record = reinterpret_cast<const WTS_PROCESS_INFOW*>(memory);
    for (DWORD index = 0; index < count; ++index, ++record) {
      records.push_back(std::to_string(record->SessionId) + " " + host::ToUtf8(record->pProcessName) + " " +
                        host::security::SidText(record->pUserSid));
      EXPECT_TRUE(index == 0 || record->ProcessId > record[-1].ProcessId);
    }
    EXPECT_TRUE(free_(WTSTypeProcessInfoLevel0, memory, count));
    return records;
  }

  HMODULE module_ = nullptr;
  decltype(&WTSEnumerateProcessesExW) enumerate_ = nullptr;
  decltype(&WTSFreeMemoryExW) free_ = nullptr;
};

TEST_F(SessionProcessesTest, AreTheProgramsAndTheLogonProcessOfTheSession) {
  const std::string ada = Ask("session.logon", {{"user", "ada"}}).at("sid");
  const json second = Ask("session.logon", {{"user", "grace"}, {"remote", true}});
  const DWORD session = second.at("session");
  const std::string grace = second.at("sid");
  const json identity = {{"user", "grace"}, {"session", session}};
  const auto run = [](const json& who) {
    return Ask("process.run", {{"program", "/bin/sleep"}, {"arguments", {"100"}}, {"identity", who}}).at("pid");
  };
  const json program = run(identity);
  run({{"userSid", "S-1-5-18"}, {"system", true}, {"session", 0}});

  const std::string logon = " winlogon.exe S-1-5-18";
  const std::string number = std::to_string(session);
  EXPECT_THAT(Records(1), testing::ElementsAre("1" + logon));
  EXPECT_THAT(Records(session), testing::ElementsAre(number + " sleep " + grace, number + logon));
  EXPECT_THAT(Records(0), testing::ElementsAre("0 sleep S-1-5-18"));
  EXPECT_THAT(Records(7), testing::IsEmpty());
  EXPECT_EQ(Records(WTS_ANY_SESSION).size(), 4u);

  Ask("process.end", {{"pid", program}});
  EXPECT_TRUE(machine_test::Eventually([&] { return Records(session).size() == 1; }));
  Ask("session.winlogon", {{"session", 1}, {"name", "WinLogon.exe"}, {"system", false}});
  EXPECT_THAT(Records(1), testing::ElementsAre("1 WinLogon.exe S-1-5-19"));
  Ask("session.winlogon", {{"session", 1}, {"present", false}});
  EXPECT_THAT(Records(1), testing::IsEmpty());
}

TEST_F(SessionProcessesTest, AFileOfTheTableThatIsNoRowIsPassedOver) {
  const std::string folder = host::CurrentMachineDirectory().runtime + "/processes/";
  for (const char* text : {"", "[]", R"({"token": 1})", R"({"pid": "one", "token": {}})",
                           R"({"pid": 1073741900, "token": {"session": "one"}})"}) {
    std::ofstream(folder + "1073741900") << text;
    EXPECT_THAT(Records(1), testing::ElementsAre("1 winlogon.exe S-1-5-18")) << text;
  }
}

TEST_F(SessionProcessesTest, CanFailAndBeTakenAway) {
  DWORD level = 0;
  DWORD count = 17;
  LPWSTR memory = nullptr;
  EXPECT_FALSE(enumerate_(nullptr, &level, 1, nullptr, &count));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  host::FailCall("WTSEnumerateProcessesExW", 1, 1722);
  EXPECT_FALSE(enumerate_(nullptr, &level, 1, &memory, &count));
  EXPECT_EQ(GetLastError(), 1722u);
  EXPECT_EQ(memory, nullptr);
  EXPECT_EQ(count, 17u);
  EXPECT_TRUE(free_(WTSTypeProcessInfoLevel0, nullptr, 0));

  host::TakeAwayExport(u"wtsapi32.dll", "WTSEnumerateProcessesExW");
  EXPECT_EQ(GetProcAddress(module_, "WTSEnumerateProcessesExW"), nullptr);
  host::TakeAwayModule(u"wtsapi32.dll");
  EXPECT_EQ(LoadLibraryExW(W("wtsapi32.dll"), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), nullptr);
}

}  // namespace
