// Access tokens as the platform documents them: both builds.
#include <gtest/gtest.h>

#include <vector>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/memory.h"
#include "platform/processes.h"
#include "platform/security.h"
#include "platform/sync.h"
#include "platform/threads.h"
#include "platform/tokens.h"

namespace {

constexpr DWORD kUntouched = 4711;

// Closed at the end of its scope.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  operator HANDLE() const { return handle_; }
  PHANDLE Receive() { return &handle_; }

 private:
  HANDLE handle_ = nullptr;
};

void OpenOwn(DWORD access, Handle* token) {
  SetLastError(kUntouched);
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), access, token->Receive()));
  EXPECT_EQ(GetLastError(), kUntouched);
}

// The TOKEN_USER with its SID behind it; empty when the token cannot be asked.
std::vector<BYTE> UserOf(HANDLE token) {
  DWORD size = 0;
  if (GetTokenInformation(token, TokenUser, nullptr, 0, &size)) return {};
  std::vector<BYTE> user(size);
  if (!GetTokenInformation(token, TokenUser, user.data(), size, &size)) return {};
  return user;
}

PSID SidIn(const std::vector<BYTE>& user) {
  return reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
}

TEST(Tokens, TheUserIsReadInTwoCalls) {
  Handle token;
  OpenOwn(TOKEN_QUERY, &token);
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenUser, nullptr, 0, &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  ASSERT_GT(size, sizeof(TOKEN_USER));

  std::vector<BYTE> small(size, 0xEE);
  DWORD needed = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenUser, small.data(), size - 1, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(needed, size);
  EXPECT_EQ(small, std::vector<BYTE>(size, 0xEE)) << "nothing is stored";

  std::vector<BYTE> user(size);
  SetLastError(kUntouched);
  ASSERT_TRUE(GetTokenInformation(token, TokenUser, user.data(), size, &needed));
  EXPECT_EQ(GetLastError(), kUntouched);
  EXPECT_EQ(needed, size);
  ASSERT_TRUE(IsValidSid(SidIn(user)));
  EXPECT_EQ(sizeof(TOKEN_USER) + GetLengthSid(SidIn(user)), size) << "the SID is part of the answer";
}

TEST(Tokens, TheUsersSidAsText) {
  Handle token;
  OpenOwn(TOKEN_QUERY, &token);
  const std::vector<BYTE> user = UserOf(token);
  ASSERT_FALSE(user.empty());
  LPWSTR text = nullptr;
  ASSERT_TRUE(ConvertSidToStringSidW(SidIn(user), &text));
  EXPECT_EQ(WideString(text).substr(0, 6), W("S-1-5-"));
  PSID again = nullptr;
  ASSERT_TRUE(ConvertStringSidToSidW(text, &again));
  EXPECT_TRUE(EqualSid(SidIn(user), again));
  LocalFree(again);
  LocalFree(text);
}

TEST(Tokens, TheSessionIsFourBytes) {
  Handle token;
  OpenOwn(TOKEN_QUERY, &token);
  DWORD session = 0xEEEEEEEE;
  DWORD size = 0;
  ASSERT_TRUE(GetTokenInformation(token, TokenSessionId, &session, sizeof(session), &size));
  EXPECT_EQ(size, sizeof(session));
  EXPECT_NE(session, 0xEEEEEEEE);
}

TEST(Tokens, AHandleDoesWhatItWasOpenedFor) {
  Handle query, duplicate;
  OpenOwn(TOKEN_QUERY, &query);
  OpenOwn(TOKEN_DUPLICATE, &duplicate);
  DWORD session = 0;
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(duplicate, TokenSessionId, &session, sizeof(session), &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  Handle copy;
  EXPECT_FALSE(DuplicateTokenEx(query, MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary, copy.Receive()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});

  const Handle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  EXPECT_FALSE(GetTokenInformation(event, TokenSessionId, &session, sizeof(session), &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_FALSE(OpenProcessToken(event, TOKEN_QUERY, copy.Receive()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Tokens, APrimaryCopyIsTheSameUsers) {
  Handle token, copy;
  OpenOwn(TOKEN_DUPLICATE | TOKEN_QUERY, &token);
  SetLastError(kUntouched);
  ASSERT_TRUE(DuplicateTokenEx(token, MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary, copy.Receive()));
  EXPECT_EQ(GetLastError(), kUntouched);
  EXPECT_NE(static_cast<HANDLE>(copy), static_cast<HANDLE>(token));
  const std::vector<BYTE> user = UserOf(token);
  const std::vector<BYTE> same = UserOf(copy);
  ASSERT_FALSE(user.empty());
  ASSERT_FALSE(same.empty());
  EXPECT_TRUE(EqualSid(SidIn(user), SidIn(same)));
}

TEST(Tokens, AThreadHasOneOfItsOwnOnlyWhileItImpersonates) {
  Handle none;
  EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, none.Receive()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_TOKEN});
  EXPECT_TRUE(SetThreadToken(nullptr, nullptr)) << "nothing to end is no failure";

  Handle token, impersonation;
  OpenOwn(TOKEN_DUPLICATE | TOKEN_QUERY, &token);
  ASSERT_TRUE(DuplicateTokenEx(token, MAXIMUM_ALLOWED, nullptr, SecurityImpersonation, TokenImpersonation,
                               impersonation.Receive()));
  ASSERT_TRUE(SetThreadToken(nullptr, impersonation));
  Handle ofThread;
  EXPECT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, ofThread.Receive()));
  EXPECT_FALSE(UserOf(ofThread).empty());
  EXPECT_TRUE(SetThreadToken(nullptr, nullptr));
  EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, none.Receive()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_TOKEN});
}

TEST(Tokens, AProgramWithoutPackageHasNoFamilyName) {
  Handle token;
  OpenOwn(TOKEN_QUERY, &token);
  WCHAR name[64] = {W('x')};
  UINT length = 64;
  const LONG result = GetPackageFamilyNameFromToken(token, &length, name);
  const DWORD lastError = GetLastError();
  EXPECT_EQ(result, LONG{APPMODEL_ERROR_NO_PACKAGE});
  EXPECT_EQ(lastError, DWORD{APPMODEL_ERROR_NO_PACKAGE});
}

}  // namespace
