// Contract: what the session calls and the privilege they ask for answer whatever sessions there are.
#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/modules.h"
#include "platform/processes.h"
#include "platform/tokens.h"

namespace {

class OwnToken {
 public:
  explicit OwnToken(DWORD access) { EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), access, &handle)); }
  ~OwnToken() { CloseHandle(handle); }
  OwnToken(const OwnToken&) = delete;
  OwnToken& operator=(const OwnToken&) = delete;

  HANDLE handle = nullptr;
};

TEST(Privileges, AreFoundByName) {
  LUID luid{};
  for (const auto* name : {W("SeTcbPrivilege"), W("setcbprivilege")}) {
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, name, &luid));
    EXPECT_EQ(luid.LowPart, 7u);
    EXPECT_EQ(luid.HighPart, 0);
  }
  EXPECT_FALSE(LookupPrivilegeValueW(nullptr, W("SeNoSuchPrivilege"), &luid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_SUCH_PRIVILEGE));
}

// The call succeeds; its last error tells.
TEST(Privileges, OneThatTheTokenLacksIsToldByTheLastError) {
  const OwnToken token(TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY);
  TOKEN_PRIVILEGES wanted{1, {{{0x7FFF, 0}, SE_PRIVILEGE_ENABLED}}};
  EXPECT_TRUE(AdjustTokenPrivileges(token.handle, FALSE, &wanted, 0, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ALL_ASSIGNED));
  wanted.PrivilegeCount = 0;
  EXPECT_TRUE(AdjustTokenPrivileges(token.handle, FALSE, &wanted, 0, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST(Privileges, AreNotAdjustedThroughAHandleForAsking) {
  const OwnToken token(TOKEN_QUERY);
  TOKEN_PRIVILEGES wanted{1, {{{7, 0}, SE_PRIVILEGE_ENABLED}}};
  EXPECT_FALSE(AdjustTokenPrivileges(token.handle, FALSE, &wanted, 0, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(Sessions, TheModuleHasTheCalls) {
  const HMODULE module = LoadLibraryExW(W("wtsapi32.dll"), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  ASSERT_NE(module, nullptr);
  for (const char* name : {"WTSEnumerateSessionsW", "WTSQueryUserToken", "WTSFreeMemory"})
    EXPECT_NE(GetProcAddress(module, name), nullptr) << name;
  FreeLibrary(module);
}

}  // namespace
