// Who may reach the endpoint and the wake-check event, as text.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/security/capability_sids.h"
#include "platform/host/security/sddl.h"
#include "platform/sync.h"
#include "rpc/rpc_security_descriptor.h"
#include "rpc/wakeup_check_event.h"
#include "tests/support/test_machine.h"

using namespace Quorvex::PC;
using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

constexpr const char* kEveryoneOnly = "D:(A;;GA;;;WD)";

std::string EndpointDacl() {
  RpcSecurityDescriptor holder;
  EXPECT_TRUE(GetRpcSecurityDescriptor(holder));
  return host::DescriptorToSddl(&holder.descriptor);
}

TEST(EndpointSecurity, AdmitsEveryoneAndTheCapability) {
  EXPECT_EQ(EndpointDacl(),
            "D:(A;;GA;;;WD)(A;;GA;;;S-1-15-3-1024-725278066-3482327732-1334690058-336813951-959172379-567848342-"
            "2247572830-1619008730)");
}

TEST(EndpointSecurity, AdmitsEveryoneOnlyWhereTheCapabilityCannotBeDerived) {
  const WCHAR* module = W("api-ms-win-security-base-l1-2-2.dll");
  host::TakeAwayExport(module, "DeriveCapabilitySidsFromName");
  EXPECT_EQ(EndpointDacl(), kEveryoneOnly);
  host::RestoreModules();
  host::TakeAwayModule(module);
  EXPECT_EQ(EndpointDacl(), kEveryoneOnly);
  host::RestoreModules();
  for (unsigned count : {0u, 2u}) {
    host::SetDerivedCapabilityCount(count);
    EXPECT_EQ(EndpointDacl(), kEveryoneOnly) << count;
  }
  host::SetDerivedCapabilityCount(1);
}

TEST(WakeCheckEventSecurity, LetsEveryoneWaitAndNobodyElseSetIt) {
  support::TestMachine machine;
  EXPECT_FALSE(IsWakeupCheckCompleted()) << "nobody has created it";
  std::atomic<HANDLE> location = nullptr;
  ASSERT_TRUE(CreateWakeupCheckEvent(location));
  nlohmann::json status;
  ASSERT_EQ(machine.Call("machine.status", {}, &status), 0u);
  ASSERT_EQ(status.at("events").size(), 1u) << status.dump(1);
  EXPECT_EQ(status.at("events").at(0).at("sddl"), "D:(A;;0x100000;;;WD)");
  const Common::UniqueHandle other(OpenEventW(SYNCHRONIZE, FALSE, kCompletedCheckWakeupEvent));
  ASSERT_TRUE(other);
  EXPECT_FALSE(SetEvent(other.Get()));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_FALSE(IsWakeupCheckCompleted());
  EXPECT_TRUE(SetEvent(location));
  EXPECT_TRUE(IsWakeupCheckCompleted());
  // Creating it anew takes the one there is, as it stands, and closes the handle held before.
  ASSERT_TRUE(CreateWakeupCheckEvent(location));
  EXPECT_TRUE(IsWakeupCheckCompleted());
  const Common::UniqueHandle last(location.exchange(nullptr));
}

}  // namespace
