// The interface on the host, with the names and signatures that the IDL compiler makes of rpc/hkd04a7_rpc.idl.
//
// The server routines and the rundown routines are the product's. Client stubs (prefix Client_) leave with
// RpcRaiseException where the call failed; platform/rpc_client.h turns that into a status.
#pragma once

#include "platform/host/rpc/rpc_async.h"
#include "platform/host/rpc/rpc_types.h"

extern "C" {

using Hkd04a7Rpc_DeviceHandle = void*;
using Hkd04a7Rpc_EventNotifyHandle = void*;

struct Hkd04a7Rpc_EventRecord {
  DWORD eventId;
  DWORD data1;
  DWORD data2;
};

// The interface for RpcServerRegisterIf3. A program that names it defines the server routines.
extern RPC_IF_HANDLE Hkd04a7Rpc_v1_0_s_ifspec;
// The interface as clients know it.
extern RPC_IF_HANDLE Client_Hkd04a7Rpc_v1_0_c_ifspec;

// Server routines, in procedure order.
HRESULT Hkd04a7Rpc_Device_Create(handle_t binding, Hkd04a7Rpc_DeviceHandle* device);
HRESULT Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device);
HRESULT Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle device, DWORD functionCode, DWORD arg1, DWORD arg2,
                                         DWORD arg3, DWORD* result);
HRESULT Hkd04a7Rpc_EventNotify_Create(handle_t binding, Hkd04a7Rpc_EventNotifyHandle* subscription);
HRESULT Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription);
void Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState, Hkd04a7Rpc_EventNotifyHandle subscription,
                                           Hkd04a7Rpc_EventRecord* event);
HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName,
                                                     const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                     DWORD data1);
HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName, DWORD flags,
                                                       DWORD eventId, DWORD data1);
HRESULT Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD wakeupKind, DWORD* wakeupInfo);
HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t binding, DWORD flags, const WCHAR* command, const WCHAR* par,
                                   DWORD* exitCode);

void Hkd04a7Rpc_DeviceHandle_rundown(Hkd04a7Rpc_DeviceHandle device);
void Hkd04a7Rpc_EventNotifyHandle_rundown(Hkd04a7Rpc_EventNotifyHandle subscription);

// Client stubs, in procedure order.
HRESULT Client_Hkd04a7Rpc_Device_Create(handle_t binding, Hkd04a7Rpc_DeviceHandle* device);
HRESULT Client_Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device);
HRESULT Client_Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle device, DWORD functionCode, DWORD arg1,
                                                DWORD arg2, DWORD arg3, DWORD* result);
HRESULT Client_Hkd04a7Rpc_EventNotify_Create(handle_t binding, Hkd04a7Rpc_EventNotifyHandle* subscription);
HRESULT Client_Hkd04a7Rpc_EventNotify_Destroy(Hkd04a7Rpc_EventNotifyHandle* subscription);
void Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(PRPC_ASYNC_STATE asyncState,
                                                  Hkd04a7Rpc_EventNotifyHandle subscription,
                                                  Hkd04a7Rpc_EventRecord* event);
HRESULT Client_Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName,
                                                            const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                            DWORD data1);
HRESULT Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t binding, const WCHAR* packageFamilyName,
                                                              DWORD flags, DWORD eventId, DWORD data1);
HRESULT Client_Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD wakeupKind, DWORD* wakeupInfo);
HRESULT Client_Hkd04a7Rpc_RunFileAsSystem(handle_t binding, DWORD flags, const WCHAR* command, const WCHAR* par,
                                          DWORD* exitCode);

}  // extern "C"
