// Contract: named events.
#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/sync.h"

namespace {

constexpr const WCHAR* kEventName = W("Local\\HKD04A7-ContractTest");

TEST(NamedEvent, SecondCreationFindsTheFirstAsItIs) {
  const HANDLE first = CreateEventW(nullptr, TRUE, FALSE, kEventName);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
  const HANDLE second = CreateEventW(nullptr, FALSE, TRUE, kEventName);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_EQ(WaitForSingleObject(second, 0), static_cast<DWORD>(WAIT_TIMEOUT));  // not made signalled
  SetEvent(second);
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);  // still manual-reset
  CloseHandle(second);
  CloseHandle(first);
}

TEST(NamedEvent, LivesAsLongAsOneHandle) {
  const HANDLE created = CreateEventW(nullptr, TRUE, TRUE, kEventName);
  const HANDLE opened = OpenEventW(SYNCHRONIZE, FALSE, kEventName);
  ASSERT_NE(opened, nullptr);
  CloseHandle(created);
  EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_OBJECT_0);
  CloseHandle(opened);
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, kEventName), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  const HANDLE again = CreateEventW(nullptr, TRUE, FALSE, kEventName);
  EXPECT_EQ(WaitForSingleObject(again, 0), static_cast<DWORD>(WAIT_TIMEOUT));  // a new one
  CloseHandle(again);
}

TEST(NamedEvent, HandleDoesWhatItWasOpenedFor) {
  const HANDLE created = CreateEventW(nullptr, TRUE, TRUE, kEventName);
  const HANDLE waiter = OpenEventW(SYNCHRONIZE, FALSE, kEventName);
  const HANDLE setter = OpenEventW(EVENT_MODIFY_STATE, FALSE, kEventName);
  const auto expectDenied = [](bool failed) {
    EXPECT_TRUE(failed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    SetLastError(0);
  };
  expectDenied(!SetEvent(waiter));
  expectDenied(!ResetEvent(waiter));
  expectDenied(WaitForSingleObject(setter, 0) == WAIT_FAILED);
  EXPECT_TRUE(ResetEvent(setter));
  EXPECT_EQ(WaitForSingleObject(waiter, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  for (const HANDLE handle : {created, waiter, setter}) CloseHandle(handle);
}

TEST(NamedEvent, Names) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, kEventName);
  struct {
    const WCHAR* name;
    DWORD error;
  } const kCases[] = {{nullptr, ERROR_INVALID_PARAMETER},
                      {W("Local\\HKD04A7-CONTRACTTEST"), ERROR_FILE_NOT_FOUND},  // letter case counts
                      {W("Global\\HKD04A7-ContractTest"), ERROR_FILE_NOT_FOUND}};
  for (const auto& c : kCases) {
    EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, c.name), nullptr);
    EXPECT_EQ(GetLastError(), c.error);
  }
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, W("Local\\a\\b")), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  const HANDLE withoutPrefix = OpenEventW(SYNCHRONIZE, FALSE, W("HKD04A7-ContractTest"));
  EXPECT_NE(withoutPrefix, nullptr);  // a name without a prefix is the session's
  CloseHandle(withoutPrefix);
  CloseHandle(event);
}

}  // namespace
