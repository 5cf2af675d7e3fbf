#include "rpc/rpc_security_descriptor.h"

#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr const WCHAR* kHardwareSettingsCapability = W("Quorvex.hkd04A7DeviceHardwareSettings_m3tq8v0kc2wna");

bool CreateEveryoneSid(Common::UniqueSid& sid) {
  SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
  return AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, sid.Receive()) != FALSE;
}

EXPLICIT_ACCESS_W GrantAll(PSID sid, TRUSTEE_TYPE type) {
  EXPLICIT_ACCESS_W entry{};
  entry.grfAccessPermissions = GENERIC_ALL;
  entry.grfAccessMode = SET_ACCESS;
  entry.grfInheritance = NO_INHERITANCE;
  entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  entry.Trustee.TrusteeType = type;
  entry.Trustee.ptstrName = static_cast<LPWSTR>(sid);
  return entry;
}

bool CreateDacl(RpcSecurityDescriptor& holder) {
  EXPLICIT_ACCESS_W entries[2]{};
  ULONG count = 0;
  entries[count++] = GrantAll(holder.everyoneSid.Get(), TRUSTEE_IS_WELL_KNOWN_GROUP);
  if (holder.capabilitySids.First() != nullptr) {
    entries[count++] = GrantAll(holder.capabilitySids.First(), TRUSTEE_IS_UNKNOWN);
  }
  const DWORD status = SetEntriesInAclW(count, entries, nullptr, holder.dacl.Receive());
  if (status == ERROR_SUCCESS) return true;
  SetLastError(status);
  return false;
}

bool Compose(RpcSecurityDescriptor& holder) {
  return CreateEveryoneSid(holder.everyoneSid) && CreateDacl(holder) &&
         InitializeSecurityDescriptor(&holder.descriptor, SECURITY_DESCRIPTOR_REVISION) &&
         SetSecurityDescriptorDacl(&holder.descriptor, TRUE, holder.dacl.Get(), FALSE);
}

}  // namespace

bool GetRpcSecurityDescriptor(RpcSecurityDescriptor& holder) {
  holder.capabilitySids = DeriveCapabilitySids(kHardwareSettingsCapability);
  // Only a derivation that names exactly one SID says whom to admit.
  if (holder.capabilitySids.Count() != 1) holder.capabilitySids = {};
  if (Compose(holder)) return true;
  holder = {};
  return false;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
