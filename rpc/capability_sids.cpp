#include "rpc/capability_sids.h"

#include "common/dll_handle.h"
#include "platform/errors.h"
#include "platform/memory.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

// DeriveCapabilitySidsFromName; each SID and each array that it hands out belongs to the caller (LocalFree).
using DeriveCapabilitySidsFromNameFunction = BOOL(WINAPI*)(LPCWSTR capabilityName, PSID** groupSids, DWORD* groupCount,
                                                           PSID** capabilitySids, DWORD* capabilityCount);

class CapabilityApi : public Common::CDllHandle {
 public:
  DeriveCapabilitySidsFromNameFunction deriveCapabilitySidsFromName = nullptr;

 protected:
  bool BindEntryPoints(HMODULE library) override {
    return Common::FindEntryPoint(library, "DeriveCapabilitySidsFromName", deriveCapabilitySidsFromName);
  }
  void ClearEntryPoints() override { deriveCapabilitySidsFromName = nullptr; }
};

}  // namespace

SidArray::~SidArray() {
  if (sids_ == nullptr) return;
  const DWORD lastError = GetLastError();
  for (DWORD i = 0; i < count_; ++i) LocalFree(sids_[i]);
  LocalFree(sids_);
  SetLastError(lastError);
}

SidArray DeriveCapabilitySids(const WCHAR* capabilityName) {
  CapabilityApi api;
  if (!api.Load(Common::DllFromSystem(W("api-ms-win-security-base-l1-2-2.dll")))) return {};
  PSID* groups = nullptr;
  PSID* capabilities = nullptr;
  DWORD groupCount = 0;
  DWORD capabilityCount = 0;
  if (!api.deriveCapabilitySidsFromName(capabilityName, &groups, &groupCount, &capabilities, &capabilityCount))
    return {};
  const SidArray unusedGroups(groups, groupCount);
  return SidArray(capabilities, capabilityCount);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
