// What installing and uninstalling decide before anything is touched.
#include "tools/service_registration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using enum ServiceStep;

TEST(ServiceRegistrationTest, RecordsOnlyVersionsThatTheServiceRunsWith) {
  const struct {
    const char* project;
    std::optional<std::string> installed;
  } cases[] = {
      {"4.0.0", "4.0.0.0"},           {"12", "12.0.0.0"},          {"4.1.20.300", "4.1.20.300"},
      {"3.9.9", std::nullopt},        {"0.4", std::nullopt},       {"-4.0", std::nullopt},
      {"4.", std::nullopt},           {"4.0.0.0.1", std::nullopt}, {"4.0-rc1", std::nullopt},
      {"4294967300.0", std::nullopt}, {"", std::nullopt},
  };
  for (const auto& entry : cases) EXPECT_EQ(InstalledVersion(entry.project), entry.installed) << entry.project;
}

TEST(ServiceRegistrationTest, RefusesPathsThatTheServiceCouldNotRunFrom) {
  EXPECT_EQ(ProgramPathError(W("C:\\Program Files\\HKD04A7\\hkd04a7-service.exe")), "");
  EXPECT_EQ(ProgramPathError(W("\\\\?\\C:\\s.exe")), "");
  for (const WCHAR* path : {W("s.exe"), W("C:s.exe"), W("\\s.exe"), W("C:\\"), W("")})
    EXPECT_THAT(ProgramPathError(path), HasSubstr("full path"));
  EXPECT_THAT(ProgramPathError(W("C:\\a\" -appservice \"b.exe")), HasSubstr("quote"));
  const WideString folder = W("C:\\") + WideString(250, 'x');
  EXPECT_EQ(ProgramPathError(folder + W("\\s.exe")), "");  // 259
  EXPECT_THAT(ProgramPathError(folder + W("\\sv.exe")), HasSubstr("260"));
}

TEST(ServiceRegistrationTest, TakesOnlyTheStepsThatAreLeft) {
  EXPECT_THAT(InstallSteps({}), ElementsAre(Create, Describe, SetFailureActions, RecordVersion));
  EXPECT_THAT(InstallSteps({.registered = true, .running = true, .version = true}),
              ElementsAre(Change, Describe, SetFailureActions, RecordVersion));
  EXPECT_THAT(UninstallSteps({.registered = true, .running = true, .version = true}),
              ElementsAre(Stop, Delete, RemoveVersion));
  EXPECT_THAT(UninstallSteps({.registered = true}), ElementsAre(Delete));
  EXPECT_THAT(UninstallSteps({.version = true}), ElementsAre(RemoveVersion));
  EXPECT_THAT(UninstallSteps({}), IsEmpty());
}

TEST(ServiceRegistrationTest, TellsWhatIsRegistered) {
  const ServiceRegistration registration = {W("C:\\Program Files\\s.exe"), true, "4.0.0.0"};
  EXPECT_EQ(StepText(Create, registration),
            "register the service Hkd04a7DriverUtilityService: own process, LocalSystem, automatic start, runs "
            "\"C:\\Program Files\\s.exe\" -service");
  EXPECT_THAT(StepText(Change, {W("C:\\s.exe"), false, ""}), HasSubstr("demand start"));
  EXPECT_THAT(StepText(RecordVersion, registration), HasSubstr("CurrentVersion to 4.0.0.0"));
}

}  // namespace
}  // namespace tool
