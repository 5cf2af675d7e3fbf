// The sessions of a machine and the tokens of their users, as the calls give them.
#include <chrono>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/text.h"
#include "platform/host/identity/thread_token.h"
#include "platform/processes.h"
#include "platform/sessions.h"
#include "platform/tokens.h"
#include "tests/platform/process_fixture.h"

namespace {

using machine_test::Ask;

class SessionsTest : public ProcessTest {
 protected:
  // "identifier state name" of each, in their order.
  static std::vector<std::string> Listed() {
    PWTS_SESSION_INFOW sessions = nullptr;
    DWORD count = 0;
    EXPECT_TRUE(WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count)) << GetLastError();
    std::vector<std::string> listed;
    for (DWORD index = 0; index < count; ++index) {
      listed.push_back(std::to_string(sessions[index].SessionId) + " " + std::to_string(sessions[index].State) + " " +
                       host::ToUtf8(sessions[index].pWinStationName));
    }
    WTSFreeMemory(sessions);
    return listed;
  }

  // The last error of the asking through a handle of the own token, or the call's own when it fails.
  static DWORD SetTcb(DWORD attributes) {
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES wanted{1, {{{}, attributes}}};
    EXPECT_TRUE(LookupPrivilegeValueW(nullptr, SE_TCB_NAME, &wanted.Privileges[0].Luid));
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token));
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr));
    const DWORD error = GetLastError();
    CloseHandle(token);
    return error;
  }

  static DWORD Query(DWORD session) {
    HANDLE token = nullptr;
    if (!WTSQueryUserToken(session, &token)) return GetLastError();
    CloseHandle(token);
    return ERROR_SUCCESS;
  }
};

TEST_F(SessionsTest, AreListedInTheOrderOfTheirIdentifiersAsTheyChange) {
  EXPECT_EQ(Listed(), (std::vector<std::string>{"0 4 Services", "1 1 Console"}));
  Ask("session.logon", {{"user", "anna"}});
  Ask("session.logon", {{"user", "bert"}, {"remote", true}});
  EXPECT_EQ(Listed(), (std::vector<std::string>{"0 4 Services", "1 0 Console", "2 0 RDP-Tcp#2"}));
  Ask("session.disconnect", {{"session", 1}});
  EXPECT_EQ(Listed(), (std::vector<std::string>{"0 4 Services", "1 4 ", "2 0 RDP-Tcp#2"}));
  Ask("session.connect", {{"session", 2}});
  Ask("session.logoff", {{"session", 1}});
  EXPECT_EQ(Listed().front(), "0 4 Services");
  PWTS_SESSION_INFOW sessions = nullptr;
  DWORD count = 0;
  EXPECT_FALSE(WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 2, &sessions, &count));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  Stop();
  host::UseMachineDirectory(folder_.path() + "/nowhere");
  EXPECT_FALSE(WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count));
  EXPECT_EQ(GetLastError(), 1722u);
}

TEST_F(SessionsTest, AUsersTokenNeedsThePrivilegeOfTheProcess) {
  Ask("session.logon", {{"user", "anna"}});
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
  EXPECT_EQ(SetTcb(SE_PRIVILEGE_ENABLED), ERROR_SUCCESS);
  EXPECT_EQ(Query(1), ERROR_SUCCESS);
  host::SetThreadToken(std::make_shared<const host::TokenFacts>(host::SystemToken()));
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
  host::SetThreadToken(nullptr);
  EXPECT_EQ(SetTcb(0), ERROR_SUCCESS);
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
  host::SetOwnToken(host::TokenFacts{"S-1-5-21-9", 1});
  EXPECT_EQ(SetTcb(SE_PRIVILEGE_ENABLED), ERROR_NOT_ALL_ASSIGNED);
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
}

// What is done to a copy does not count for the process.
TEST_F(SessionsTest, ACopyHasPrivilegesOfItsOwn) {
  Ask("session.logon", {{"user", "anna"}});
  HANDLE own = nullptr;
  HANDLE copy = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own));
  ASSERT_TRUE(DuplicateTokenEx(own, TOKEN_ALL_ACCESS, nullptr, SecurityIdentification, TokenPrimary, &copy));
  TOKEN_PRIVILEGES wanted{1, {{{7, 0}, SE_PRIVILEGE_ENABLED}}};
  EXPECT_TRUE(AdjustTokenPrivileges(copy, FALSE, &wanted, 0, nullptr, nullptr));
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
  EXPECT_TRUE(AdjustTokenPrivileges(own, FALSE, &wanted, 0, nullptr, nullptr));
  EXPECT_EQ(Query(1), ERROR_SUCCESS);
  EXPECT_TRUE(AdjustTokenPrivileges(own, TRUE, nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(Query(1), ERROR_PRIVILEGE_NOT_HELD);
  CloseHandle(copy);
  CloseHandle(own);
}

TEST_F(SessionsTest, AUsersTokenIsThatUsersInThatSession) {
  Ask("session.logon", {{"user", "anna"}});
  const auto bert = Ask("session.logon", {{"user", "bert"}, {"remote", true}}).at("sid").get<std::string>();
  Ask("session.disconnect", {{"session", 2}});
  ASSERT_EQ(SetTcb(SE_PRIVILEGE_ENABLED), ERROR_SUCCESS);
  HANDLE token = nullptr;
  ASSERT_TRUE(WTSQueryUserToken(2, &token));
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_ALL_ACCESS);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->Type(), TokenPrimary);
  EXPECT_EQ(object->Facts(), (host::TokenFacts{bert, 2}));
  CloseHandle(token);
  Ask("session.logoff", {{"session", 1}});
  EXPECT_EQ(Query(0), ERROR_NO_TOKEN);
  EXPECT_EQ(Query(1), ERROR_NO_TOKEN);
  EXPECT_EQ(Query(3), ERROR_CTX_WINSTATION_NOT_FOUND);
}

}  // namespace
