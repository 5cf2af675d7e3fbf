// The environment of a user.
#include <stdlib.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "platform/processes.h"
#include "platform/registry.h"
#include "tests/platform/process_fixture.h"

namespace {

using machine_test::Ask;

class EnvironmentTest : public ProcessTest {
 protected:
  // The block's texts in their order.
  static std::vector<std::string> Lines(const host::TokenFacts& facts) {
    const HANDLE token = Token(facts);
    void* block = nullptr;
    EXPECT_TRUE(CreateEnvironmentBlock(&block, token, FALSE)) << GetLastError();
    CloseHandle(token);
    std::vector<std::string> lines;
    for (auto* text = static_cast<const WCHAR*>(block); *text; text += lines.back().size() + 1)
      lines.push_back(host::ToUtf8(text));
    EXPECT_TRUE(DestroyEnvironmentBlock(block));
    return lines;
  }

  static std::map<std::string, std::string> Variables(const host::TokenFacts& facts) {
    std::map<std::string, std::string> variables;
    for (const std::string& line : Lines(facts))
      variables[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    return variables;
  }

  static void SetValue(HKEY root, const std::u16string& subKey, const WCHAR* name, DWORD type,
                       std::u16string_view text) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), 0);
    const std::u16string terminated(text);
    EXPECT_EQ(RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(terminated.c_str()),
                             static_cast<DWORD>((terminated.size() + 1) * sizeof(WCHAR))),
              0);
    RegCloseKey(key);
  }
};

constexpr const WCHAR* kMachineKey = W("System\\CurrentControlSet\\Control\\Session Manager\\Environment");

TEST_F(EnvironmentTest, IsTheMachinesAndTheUsersAndNothingElse) {
  setenv("HKD04A7_TEST_SECRET", "of the service", 1);
  setenv("HOME", "/home/of-the-service", 1);
  const std::string sid = Ask("session.logon", {{"user", "ada"}}).at("sid");
  const std::u16string userKey = host::ToUtf16(sid) + u"\\Environment";
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("Shared"), REG_SZ, u"machine");
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("Level"), REG_SZ, u"machine");
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("Number"), REG_BINARY, u"1");
  SetValue(HKEY_USERS, userKey, W("LEVEL"), REG_SZ, u"user");
  SetValue(HKEY_USERS, userKey, W("Greeting"), REG_SZ, u"a=b c");

  auto user = Variables({.userSid = sid, .session = 1});
  EXPECT_EQ(user["USERNAME"], "ada");
  EXPECT_EQ(user["HKD04A7_MACHINE"], folder_.path());
  EXPECT_THAT(user["PATH"], testing::HasSubstr("/usr/bin"));
  EXPECT_EQ(user["Shared"], "machine");
  EXPECT_EQ(user["Level"], "user") << "the user's own goes over the machine's, whatever its letter case";
  EXPECT_EQ(user["Greeting"], "a=b c");
  EXPECT_EQ(user.count("LEVEL") + user.count("Number") + user.count("HKD04A7_TEST_SECRET") + user.count("HOME"), 0u);

  auto system = Variables(host::SystemToken());
  EXPECT_EQ(system["USERNAME"], "SYSTEM");
  EXPECT_EQ(system["Level"], "machine");
  EXPECT_EQ(system.count("Greeting"), 0u);

  EXPECT_EQ(Ask("session.logoff").value("error", 0u), 0u);
  user = Variables({.userSid = sid, .session = 1});
  EXPECT_EQ(user["Level"], "machine") << "the hive of someone who is not logged on is not loaded";
  EXPECT_EQ(Variables({.userSid = "S-1-5-19"}).count("USERNAME"), 0u);
}

TEST_F(EnvironmentTest, IsInTheOrderOfTheNames) {
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("zeta"), REG_SZ, u"1");
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("Alpha"), REG_SZ, u"2");
  SetValue(HKEY_LOCAL_MACHINE, kMachineKey, W("beta"), REG_SZ, u"3");
  std::vector<std::string> names;
  for (const std::string& line : Lines(host::SystemToken())) names.push_back(line.substr(0, line.find('=')));
  EXPECT_THAT(names, testing::IsSupersetOf({"Alpha", "beta", "zeta"}));
  std::vector<std::string> sorted = names;
  std::sort(sorted.begin(), sorted.end(), [](const std::string& left, const std::string& right) {
    return host::CompareNoCase(host::ToUtf16(left), host::ToUtf16(right)) < 0;
  });
  EXPECT_EQ(names, sorted);
}

TEST_F(EnvironmentTest, AListOfUsersThatIsNoneNamesNobody) {
  const std::string list = host::CurrentMachineDirectory().state + "/users.json";
  for (const char* text : {"", "[]", R"({"machineSid": 1})", R"({"machineSid": "S-1-5-21", "users": 1})",
                           R"({"machineSid": null, "users": {"ada": 1001}})"}) {
    std::ofstream(list) << text;
    EXPECT_EQ(Variables({.userSid = "S-1-5-21-1001"}).count("USERNAME"), 0u) << text;
  }
  std::ofstream(list) << R"({"machineSid": "S-1-5-21", "users": {"ada": 1001}})";
  EXPECT_EQ(Variables({.userSid = "S-1-5-21-1001"})["USERNAME"], "ada");
}

TEST_F(EnvironmentTest, Refusals) {
  void* block = nullptr;
  const auto query =
      host::OpenHandle(std::make_shared<host::TokenObject>(host::SystemToken(), TokenPrimary), TOKEN_QUERY);
  EXPECT_FALSE(CreateEnvironmentBlock(&block, query, FALSE));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  CloseHandle(query);
  host::FailCall("CreateEnvironmentBlock", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_FALSE(CreateEnvironmentBlock(&block, nullptr, FALSE));
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(block, nullptr);
  EXPECT_FALSE(DestroyEnvironmentBlock(nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

}  // namespace
