// What the host's token calls add to the contract: rights, threads, failures.
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/processes.h"
#include "platform/threads.h"
#include "platform/tokens.h"
#include "tests/platform/identity_fixture.h"

namespace {

using host::TokenFacts;

class TokenCallsTest : public IdentityTest {
 protected:
  void Impersonate(const TokenFacts& facts) { host::SetThreadToken(std::make_shared<const TokenFacts>(facts)); }
  ~TokenCallsTest() override {
    host::SetThreadToken(nullptr);
    EXPECT_EQ(host::OpenHandleCounts()["token"], 0);
  }
};

DWORD SessionOf(HANDLE token) {
  DWORD session = 0xEEEEEEEE;
  DWORD size = 0;
  EXPECT_TRUE(GetTokenInformation(token, TokenSessionId, &session, sizeof(session), &size));
  return session;
}

TEST_F(TokenCallsTest, AThreadsTokenIsItsAlone) {
  host::SetOwnToken(host::SystemToken());
  Impersonate(kContained);
  std::thread([] {
    HANDLE token = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
    EXPECT_EQ(GetLastError(), ERROR_NO_TOKEN);
  }).join();
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
  EXPECT_TRUE(SetThreadToken(nullptr, nullptr));
  EXPECT_EQ(SessionOf(token), 2u) << "an opened token outlives the impersonation";
  EXPECT_TRUE(CloseHandle(token));
}

TEST_F(TokenCallsTest, WhoMayOpenWhoseToken) {
  const struct {
    TokenFacts asker, owner;
    bool may;
  } cases[] = {
      {host::SystemToken(), kContained, true},
      {kPlain, kPlain, true},
      {kPlain, kContained, false},
      {kContained, host::SystemToken(), false},
  };
  for (const auto& each : cases) {
    host::SetOwnToken(each.asker);
    Impersonate(each.owner);
    HANDLE token = nullptr;
    EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), each.may ? TRUE : FALSE);
    if (each.may) {
      EXPECT_TRUE(CloseHandle(token));
    } else {
      EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    }
  }
}

TEST_F(TokenCallsTest, AnotherProcessIsOpenedByItsRights) {
  const Family family(1);
  Enter(family.last(), kContained);
  const auto pid = static_cast<DWORD>(family.last());
  host::SetOwnToken(kPlain);
  EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, pid), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);

  host::SetOwnToken(host::SystemToken());
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, pid);
  ASSERT_NE(process, nullptr);
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenProcessToken(process, TOKEN_QUERY, &token));
  EXPECT_EQ(SessionOf(token), kContained.session);
  EXPECT_TRUE(CloseHandle(token));
  EXPECT_TRUE(CloseHandle(process));
  EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 0x3FFFFFFF), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(TokenCallsTest, PackageFamilyNamesByTheBufferTheyNeed) {
  const std::string longest(63, 'p');
  const struct {
    std::string name;
    UINT length;
    LONG expected;
    UINT needed;
  } cases[] = {
      {longest, 64, ERROR_SUCCESS, 64},
      {longest + "p", 64, ERROR_INSUFFICIENT_BUFFER, 65},
      {longest, 0, ERROR_INSUFFICIENT_BUFFER, 64},
      {"", 64, APPMODEL_ERROR_NO_PACKAGE, 64},
  };
  for (const auto& each : cases) {
    TokenFacts facts = kContained;
    facts.packageFamilyName = each.name;
    host::SetOwnToken(facts);
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    WCHAR name[65] = {};
    UINT length = each.length;
    SetLastError(0);
    EXPECT_EQ(GetPackageFamilyNameFromToken(token, &length, each.length ? name : nullptr), each.expected);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(each.expected)) << "left as the last error too";
    EXPECT_EQ(length, each.needed);
    EXPECT_EQ(WideString(name).size(), each.expected == 0 ? each.name.size() : 0u);
    EXPECT_TRUE(CloseHandle(token));
  }
}

TEST_F(TokenCallsTest, OnlyImpersonationTokensAreSetOnAThread) {
  HANDLE own = nullptr, copy = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_IMPERSONATE, &own));
  EXPECT_FALSE(SetThreadToken(nullptr, own));
  EXPECT_EQ(GetLastError(), ERROR_BAD_TOKEN_TYPE);
  ASSERT_TRUE(DuplicateTokenEx(own, TOKEN_QUERY, nullptr, SecurityImpersonation, TokenImpersonation, &copy));
  EXPECT_FALSE(SetThreadToken(nullptr, copy));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(host::ThreadToken(), nullptr);
  EXPECT_TRUE(CloseHandle(own));
  EXPECT_TRUE(CloseHandle(copy));
}

TEST_F(TokenCallsTest, WhatIsNotCarriedOutEndsTheProgram) {
  HANDLE token = nullptr;
  DWORD size = 0;
  SECURITY_ATTRIBUTES attributes{};
  EXPECT_DEATH(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, FALSE, &token), "OpenThreadToken.*openAsSelf");
  EXPECT_DEATH(OpenThreadToken(GetCurrentProcess(), TOKEN_QUERY, TRUE, &token), "OpenThreadToken.*thread");
  EXPECT_DEATH(SetThreadToken(&token, nullptr), "SetThreadToken.*thread");
  EXPECT_DEATH(OpenProcessToken(GetCurrentProcess(), GENERIC_READ, &token), "OpenProcessToken.*access");
  EXPECT_DEATH(DuplicateTokenEx(token, 0, &attributes, SecurityImpersonation, TokenPrimary, &token), "attributes");
  EXPECT_DEATH(GetTokenInformation(token, TokenUser, nullptr, 0, nullptr), "GetTokenInformation.*returnLength");
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  EXPECT_DEATH(GetTokenInformation(token, static_cast<TOKEN_INFORMATION_CLASS>(2), &size, 4, &size), "kind");
  EXPECT_TRUE(CloseHandle(token));
}

TEST_F(TokenCallsTest, EveryCallCanBeMadeToFail) {
  HANDLE token = nullptr;
  UINT length = 0;
  DWORD size = 0;
  const std::pair<const char*, std::function<bool()>> calls[] = {
      {"OpenThreadToken", [&] { return OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) != FALSE; }},
      {"SetThreadToken", [] { return SetThreadToken(nullptr, nullptr) != FALSE; }},
      {"OpenProcessToken", [&] { return OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) != FALSE; }},
      {"DuplicateTokenEx",
       [&] {
         return DuplicateTokenEx(nullptr, TOKEN_QUERY, nullptr, SecurityImpersonation, TokenPrimary, &token) != FALSE;
       }},
      {"GetTokenInformation", [&] { return GetTokenInformation(nullptr, TokenUser, nullptr, 0, &size) != FALSE; }},
      {"GetPackageFamilyNameFromToken",
       [&] { return GetPackageFamilyNameFromToken(nullptr, &length, nullptr) != 4242; }},
      {"OpenProcess", [] { return OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId()) != nullptr; }},
  };
  for (const auto& [name, succeeds] : calls) {
    host::FailCall(name, 1, 4242);
    EXPECT_FALSE(succeeds()) << name;
    EXPECT_EQ(GetLastError(), 4242u) << name;
  }
}

}  // namespace
