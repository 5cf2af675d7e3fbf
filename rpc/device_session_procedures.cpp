// Procedures 0, 1 and 2 of the interface and the rundown of a device handle. They run on the RPC runtime's threads; the
// runtime runs the calls on one handle one after another.
#include "platform/errors.h"
#include "platform/rpc_interface.h"
#include "rpc/device_session.h"
#include "service/debug_log.h"

using namespace Quorvex::PC::Hkd04a7;
using namespace Quorvex::PC::Hkd04a7::Service;

HRESULT Hkd04a7Rpc_Device_Create(handle_t, Hkd04a7Rpc_DeviceHandle* device) {
  return OpenDeviceSession(device);
}

HRESULT Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device) {
  if (device == nullptr || !EndDeviceSession(*device)) return S_FALSE;
  *device = nullptr;
  return S_OK;
}

HRESULT Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle device, DWORD functionCode, DWORD arg1, DWORD arg2,
                                         DWORD arg3, DWORD* result) {
  DebugLog(W("%s enter\n"), W("Hkd04a7Rpc_Device_CallFuncMethod"));
  const auto session = FindDeviceSession(device);
  if (session == nullptr) return E_HANDLE;
  std::uint32_t answer = *result;
  const bool succeeded = session->CallFuncMethod(functionCode, arg1, arg2, arg3, &answer);
  *result = answer;
  if (!succeeded) return E_FAIL;
  DebugLog(W("Hkd04a7Rpc_Device_CallFuncMethod() exit hr=S_OK\n"));
  return S_OK;
}

void __RPC_USER Hkd04a7Rpc_DeviceHandle_rundown(Hkd04a7Rpc_DeviceHandle device) {
  DebugLog(W("hkd04a7 - rpcserver - device rundown\n"));
  EndDeviceSession(device);
}
