#include "rpc/wakeup_check_event.h"

#include <array>
#include <cstddef>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/sync.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

// Room for one entry of a short SID; the self-relative descriptor adds its header.
constexpr std::size_t kAclCapacity = 64;
constexpr std::size_t kDescriptorCapacity = 128;

struct WaitOnlyDescriptor {
  alignas(void*) std::array<std::byte, kAclCapacity> acl{};
  alignas(void*) std::array<std::byte, kDescriptorCapacity> descriptor{};

  PACL Acl() { return reinterpret_cast<PACL>(acl.data()); }
};

// Everyone may wait, nobody may do more. In self-relative form.
bool Compose(WaitOnlyDescriptor& result) {
  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  Common::UniqueSid everyone;
  SECURITY_DESCRIPTOR absolute{};
  DWORD size = kDescriptorCapacity;
  return AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, everyone.Receive()) &&
         InitializeAcl(result.Acl(), kAclCapacity, ACL_REVISION) &&
         AddAccessAllowedAce(result.Acl(), ACL_REVISION, SYNCHRONIZE, everyone.Get()) &&
         InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION) &&
         SetSecurityDescriptorDacl(&absolute, TRUE, result.Acl(), FALSE) &&
         MakeSelfRelativeSD(&absolute, result.descriptor.data(), &size);
}

HANDLE CreateEventWithDescriptor() {
  WaitOnlyDescriptor descriptor;
  if (!Compose(descriptor)) return nullptr;
  SECURITY_ATTRIBUTES attributes{};
  attributes.nLength = sizeof(attributes);
  attributes.lpSecurityDescriptor = descriptor.descriptor.data();
  attributes.bInheritHandle = FALSE;
  return CreateEventW(&attributes, TRUE, FALSE, kCompletedCheckWakeupEvent);
}

}  // namespace

bool CreateWakeupCheckEvent(std::atomic<HANDLE>& location) {
  const HANDLE created = CreateEventWithDescriptor();
  const Common::UniqueHandle old(location.exchange(created));
  return created != nullptr;
}

bool IsWakeupCheckCompleted() {
  const Common::UniqueHandle event(OpenEventW(SYNCHRONIZE, FALSE, kCompletedCheckWakeupEvent));
  return event && WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
