#include "rpc/device_session.h"

#include <new>

#include "common/hresult.h"
#include "common/module_path.h"
#include "platform/errors.h"
#include "rpc/live_blocks.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr HRESULT kNoLibraryPath = Common::HresultFromWin32(ERROR_MOD_NOT_FOUND);

// The value behind a device handle.
struct RpcDeviceContext {
  CHkd04a7DllInternalAPI* target;
};

// Never destroyed: calls may still come in while the process ends.
auto& g_deviceBlocks = *new LiveBlocks<RpcDeviceContext, CHkd04a7DllInternalAPI>;

HRESULT LoadFailure() {
  const DWORD error = GetLastError();
  DebugLog(W("Hkd04a7Rpc_Device_Create fails to LoadLibrary\n"));
  return Common::HresultFromWin32(error);
}

// Throws std::bad_alloc.
HRESULT LoadSession(Hkd04a7Rpc_DeviceHandle* device) {
  Common::PathBuffer path;
  if (!Common::GetModuleSibling(W("hkd04a7-utility.dll"), path)) return kNoLibraryPath;
  auto session = std::make_shared<CHkd04a7DllInternalAPI>();
  if (!session->Load(Common::DllByPath(path))) return LoadFailure();
  RpcDeviceContext* block = g_deviceBlocks.Make(std::move(session));
  if (block == nullptr) return E_OUTOFMEMORY;
  *device = block;
  return S_OK;
}

}  // namespace

HRESULT OpenDeviceSession(Hkd04a7Rpc_DeviceHandle* device) {
  try {
    return LoadSession(device);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

std::shared_ptr<CHkd04a7DllInternalAPI> FindDeviceSession(Hkd04a7Rpc_DeviceHandle device) {
  return g_deviceBlocks.Find(device);
}

bool EndDeviceSession(Hkd04a7Rpc_DeviceHandle device) {
  return g_deviceBlocks.Take(device) != nullptr;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
