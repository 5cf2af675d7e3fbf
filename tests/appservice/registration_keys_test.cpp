// Where registrations lie.
#include <gtest/gtest.h>

#include "appservice/registration_keys.h"

using namespace Quorvex::PC::Hkd04a7;

namespace {

constexpr auto kEvery = RegistrationScope::kEveryOccurrence;
constexpr auto kOne = RegistrationScope::kOneData1;

TEST(RegistrationKeys, NameTheEventAndPerhapsItsData) {
  const WideString root = W("Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService\\");
  const struct {
    DWORD eventId;
    RegistrationScope scope;
    DWORD data1;
    WideString end;
  } cases[] = {
      {37, kEvery, 0, W("37")}, {37, kEvery, 5, W("37")}, {41, kOne, 5, W("41-5")},
      {41, kOne, 0, W("41-0")}, {0, kEvery, 0, W("0")},   {0xFFFFFFFF, kOne, 0x80000000, W("4294967295-2147483648")},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(FormatAppServiceKeyPath(entry.eventId, entry.scope, entry.data1), root + entry.end);
    EXPECT_EQ(FormatUserAppServiceKeyPath(W("S-1-5-21-1-2-3-1001"), entry.eventId, entry.scope, entry.data1),
              W("S-1-5-21-1-2-3-1001\\") + root + entry.end);
  }
}

}  // namespace
