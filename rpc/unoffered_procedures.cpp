// Procedures of the interface that this version of the service does not offer. Each is refused with "procedure number
// out of range", as if the interface ended before it; a device handle can therefore not exist yet.
#include "platform/rpc_interface.h"

namespace {

[[noreturn]] void RefuseProcedure() {
  RpcRaiseException(RPC_S_PROCNUM_OUT_OF_RANGE);
}

}  // namespace

HRESULT Hkd04a7Rpc_Device_Create(handle_t, Hkd04a7Rpc_DeviceHandle*) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle*) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle, DWORD, DWORD, DWORD, DWORD, DWORD*) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t, const WCHAR*, const WCHAR*, DWORD, DWORD, DWORD) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t, const WCHAR*, DWORD, DWORD, DWORD) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle, DWORD, DWORD*) {
  RefuseProcedure();
}

HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t, DWORD, const WCHAR*, const WCHAR*, DWORD*) {
  RefuseProcedure();
}

void __RPC_USER Hkd04a7Rpc_DeviceHandle_rundown(Hkd04a7Rpc_DeviceHandle) {}
