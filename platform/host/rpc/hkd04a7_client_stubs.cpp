// The client stubs of the interface.
#include "platform/host/rpc/client_invocation.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/hkd04a7_interface.h"

namespace host::rpc::hkd04a7 {

namespace {

InterfaceDescription clientInterface = {kInterfaceUuid, kMajorVersion, kMinorVersion, kProcedures, kContextTypes};

template <typename... Arguments>
HRESULT Call(ProcedureNumber procedure, Arguments... arguments) {
  Invocation invocation(clientInterface, procedure, arguments...);
  return Invoke(invocation);
}

}  // namespace

}  // namespace host::rpc::hkd04a7

using namespace host::rpc::hkd04a7;

RPC_IF_HANDLE Client_Hkd04a7Rpc_v1_0_c_ifspec = &clientInterface;

HRESULT Client_Hkd04a7Rpc_Device_Create(handle_t binding, Hkd04a7Rpc_DeviceHandle* device) {
  return Call(kDeviceCreate, binding, device);
}

HRESULT Client_Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device) {
  return Call(kDeviceClose, device);
}

HRESULT Client_Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle device, DWORD functionCode, DWORD arg1,
                                                DWORD arg2, DWORD arg3, DWORD* result) {
  return Call(kDeviceCallFuncMethod, device, functionCode, arg1, arg2, arg3, result);
}

HRESULT Client_Hkd04a7Rpc_EventNotify_Create(handle_t binding, Hkd04a7Rpc_EventNotifyHandle* subscription) {
  return Call(kEventNotifyCreate, binding, subscription);
}

HRESULT Client_Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription) {
  return Call(kEventNotifyDestroy, subscription);
}

void Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState,
                                                  Hkd04a7Rpc_EventNotifyHandle subscription,
                                                  Hkd04a7Rpc_EventRecord* event) {
  host::rpc::InvokeAsync(asyncState, {clientInterface, kEventNotifyWaitEventAsync, subscription, event});
}

HRESULT Client_Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName,
                                                            const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                            DWORD data1) {
  return Call(kRegisterAppService, binding, packageFamilyName, appServiceName, flags, eventId, data1);
}

HRESULT Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName,
                                                              DWORD flags, DWORD eventId, DWORD data1) {
  return Call(kUnregisterAppService, binding, packageFamilyName, flags, eventId, data1);
}

HRESULT Client_Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD wakeupKind, DWORD* wakeupInfo) {
  return Call(kDeviceGetWakeupStatus, device, wakeupKind, wakeupInfo);
}

HRESULT Client_Hkd04a7Rpc_RunFileAsSystem(handle_t binding, DWORD flags, const WCHAR* command, const WCHAR* par,
                                          DWORD* exitCode) {
  return Call(kRunFileAsSystem, binding, flags, command, par, exitCode);
}
