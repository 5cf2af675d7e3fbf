// The client mode over the platform's own runtime, where the classes of messages and connections are not registered.
#include <gmock/gmock.h>

#include "platform/errors.h"
#include "platform/registry.h"
#include "service/entry_point.h"
#include "tests/support/debug_lines_windows.h"

namespace {

TEST(ClientModeWithoutClasses, SaysSoAndEndsWell) {
  const DWORD on = 1;
  ASSERT_EQ(
      RegSetKeyValueW(HKEY_LOCAL_MACHINE, W("Software\\Quorvex\\HKD04A7"), W("EnableLog"), REG_DWORD, &on, sizeof(on)),
      ERROR_SUCCESS);
  WCHAR words[][12] = {W("p"), W("-appservice"), W("-event"), W("5"), W("-data1"), W("7"), W("-data2"), W("9")};
  WCHAR* arguments[8];
  for (int i = 0; i < 8; ++i) arguments[i] = words[i];
  const Quorvex::PC::Hkd04a7::DebugLines log;
  EXPECT_EQ(Quorvex::PC::Hkd04a7::Service::RunProcess(8, arguments), 0);
  EXPECT_THAT(log.Lines(),
              testing::ElementsAre("hkd04a7, NotifyEventByUwpAppService, enter (5, 00000007h, 00000009h)\n",
                                   "hkd04a7, NotifyEventByUwpAppService, Failed CreateEventDataValueSet\n"));
}

}  // namespace
