#include "auth/client_capabilities.h"

#include <iterator>

#include "auth/device_software_key.h"
#include "common/access_token.h"
#include "platform/errors.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

// A package family name with its terminator.
using PackageName = WCHAR[64];

// What the client's token says of its package. False: the reason has been logged.
bool ReadClientPackage(PackageName& name) {
  Common::CAccessToken client;
  if (!client.OpenRPCClientToken()) {
    DebugLog(W("hkd04a7, CanRpcClientUseDangerousHkd04a7RpcApi(), fail OpenRPCClientToken=0x%08x\n"), GetLastError());
    return false;
  }
  // Impersonating from here to Revert.
  UINT length = static_cast<UINT>(std::size(name));
  const LONG code = GetPackageFamilyNameFromToken(client.Get(), &length, name);
  client.Revert();
  if (code == ERROR_SUCCESS) return true;
  DebugLog(W("hkd04a7, fail GetPackageFamilyNameFromToken()=0x%08x\n"), GetLastError());
  return false;
}

// The table's entry; 0 when there is none.
DWORD ReadCapabilities(const PackageName& name) {
  if (name[0] == 0) return 0;
  const Common::UniqueRegistryKey key = OpenDeviceSoftwareKey();
  if (!key) return 0;
  DWORD bits = 0;
  DWORD size = sizeof(bits);
  const LSTATUS code = RegGetValueW(key.Get(), kRestrictedRpcKey, name, RRF_RT_REG_DWORD, nullptr, &bits, &size);
  return code == ERROR_SUCCESS ? bits : 0;
}

}  // namespace

bool CanRpcClientUseDangerousHkd04a7RpcApi() {
  PackageName name = {};
  if (!ReadClientPackage(name)) return false;
  DebugLog(W("hkd04a7, RPC client PFN: %s\n"), name);
  const DWORD bits = ReadCapabilities(name);
  DebugLog(W("hkd04a7, RPC client api caps: %08xh\n"), bits);
  return (bits & kCapabilityRunFileAsSystem) != 0;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
