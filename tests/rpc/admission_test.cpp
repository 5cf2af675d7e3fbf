// Who reaches the service: every ordinary process, and of the contained ones those with the hardware-settings
// capability.
#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/security/capability_sids.h"
#include "tests/support/callers.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

namespace {

using support::ContainerCaller;
using support::DesktopCaller;
using support::PackagedCaller;
using support::RpcClient;

constexpr const WCHAR* kCapabilityModule = W("api-ms-win-security-base-l1-2-2.dll");

// How a subscription by that client ends: 0, or the code of its refusal.
DWORD Subscribe(const host::TokenFacts& caller) {
  return RpcClient(caller).Create();
}

TEST(AdmissionTest, OrdinaryProcessesAndContainedOnesWithTheCapability) {
  support::ServiceProcess service;
  service.StartAndSettle();
  host::TokenFacts otherCapability = ContainerCaller(false);
  otherCapability.capabilities = {"S-1-15-3-1024-1-2-3-4-5-6-7-8", support::kUserSid};
  const struct {
    const char* who;
    host::TokenFacts token;
    DWORD expected;
  } cases[] = {
      {"desktop", DesktopCaller(), 0},
      {"desktop of another user and session", DesktopCaller(support::kOtherUserSid, 4), 0},
      {"LocalSystem", host::SystemToken(), 0},
      {"packaged", PackagedCaller(), 0},
      {"contained, with the capability", ContainerCaller(true), 0},
      {"contained", ContainerCaller(false), ERROR_ACCESS_DENIED},
      {"contained, with another capability", otherCapability, ERROR_ACCESS_DENIED},
  };
  for (const auto& each : cases) EXPECT_EQ(Subscribe(each.token), each.expected) << each.who;
  EXPECT_EQ(RpcClient().Create(), 0u) << "from outside the machine";
}

TEST(AdmissionTest, ARefusedClientHurtsNobodyElse) {
  support::ServiceProcess service;
  service.StartAndSettle();
  RpcClient waiting(DesktopCaller());
  ASSERT_EQ(waiting.Create(), 0u);
  const auto wait = waiting.BeginWait();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Subscribe(ContainerCaller(false)), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(wait->IsOutstanding());
  service.Device().Press(1);
  EXPECT_EQ(wait->Finish().Text(), "0 (1, 1, 0)");
}

// Nothing contained gets in where the capability is not known for sure.
void ExpectContainedOnesStayOut(const char* why) {
  support::ServiceProcess service;
  service.StartAndSettle();
  EXPECT_EQ(Subscribe(DesktopCaller()), 0u) << why;
  EXPECT_EQ(Subscribe(ContainerCaller(true)), DWORD{ERROR_ACCESS_DENIED}) << why;
}

TEST(AdmissionTest, WithoutTheDerivationNoContainedProcess) {
  host::TakeAwayModule(kCapabilityModule);
  ExpectContainedOnesStayOut("no module");
  host::RestoreModules();
}

TEST(AdmissionTest, WithoutTheDerivationsExportNoContainedProcess) {
  host::TakeAwayExport(kCapabilityModule, "DeriveCapabilitySidsFromName");
  ExpectContainedOnesStayOut("no export");
  host::RestoreModules();
}

TEST(AdmissionTest, WithTwoCapabilitySidsNoContainedProcess) {
  host::SetDerivedCapabilityCount(2);
  ExpectContainedOnesStayOut("two SIDs");
  host::SetDerivedCapabilityCount(1);
}

}  // namespace
