// The platform's own Task Scheduler without tasks, and its terminal services with nobody logged on.
#include <gmock/gmock.h>

#include "appservice/session_user_token.h"
#include "appservice/user_session_notifier.h"
#include "common/handles.h"
#include "service/debug_log.h"
#include "tasks/scheduled_task.h"
#include "tests/support/debug_lines_windows.h"

using namespace Quorvex::PC::Hkd04a7;

namespace {

// The scheduler starts when it is first asked for, which can take longer than one call waits.
bool ConnectWhenItCanStart(TaskServicePointer& taskService) {
  const ULONGLONG end = GetTickCount64() + 20'000;
  while (FAILED(ConnectTaskService(taskService)) && GetTickCount64() < end) Sleep(200);
  return static_cast<bool>(taskService);
}

TEST(TaskService, IsConnectedAnewForATaskThatIsNotThere) {
  const DWORD number = 1;
  const WCHAR* key = W("Software\\Quorvex\\HKD04A7\\Events\\7");
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, W("Quorvex no such task"), REG_DWORD, &number, 4), ERROR_SUCCESS);
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  {
    TaskServicePointer taskService;
    ASSERT_TRUE(ConnectWhenItCanStart(taskService));
    const auto first = Quorvex::PC::Common::AddReference(taskService.Get());
    NotifyEventByScheduledTask(taskService, 7, 1, 2);
    EXPECT_NE(taskService.Get(), first.Get());
    const auto second = Quorvex::PC::Common::AddReference(taskService.Get());
    NotifyEventByScheduledTask(taskService, 8, 1, 2);
    EXPECT_EQ(taskService.Get(), second.Get()) << "an event without tasks";
  }
  CoUninitialize();
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, W("Software\\Quorvex\\HKD04A7\\Events"));
}

TEST(SessionUserToken, IsNoneWhereNobodyIsLoggedOn) {
  Service::CWtsSessionApi wtsApi;
  wtsApi.LoadAndBind();
  ASSERT_TRUE(wtsApi.WTSQueryUserToken && wtsApi.WTSEnumerateSessionsW && wtsApi.WTSFreeMemory);
  EXPECT_FALSE(GetActiveUserToken(wtsApi));
}

TEST(UserSessionNotifier, SaysThatThereIsNobodyToTell) {
  Service::CWtsSessionApi wtsApi;
  wtsApi.LoadAndBind();
  g_enableLog = true;
  const DebugLines log;
  UwpAssistNotify(wtsApi, 7, 1, 2);
  EXPECT_THAT(log.Lines(), testing::ElementsAre("hkd04a7 - uwpassist notify enter (7, 00000001h, 00000002h)\n",
                                                testing::StartsWith("hkd04a7, fail dup token=0x")));
}

}  // namespace
