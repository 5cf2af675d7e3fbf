// The interface for servers: the description with the server routines and the rundown routines behind it. A program
// that links this file defines them.
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/hkd04a7_interface.h"
#include "platform/host/rpc/server_thunk.h"

namespace host::rpc::hkd04a7 {

namespace {

template <auto routine>
constexpr Procedure Served(ProcedureNumber number) {
  Procedure procedure = kProcedures[number];
  procedure.invoke = &Thunk<routine>::Invoke;
  return procedure;
}

constexpr ContextHandleType WithRundown(ContextType type, void (*rundown)(void*)) {
  ContextHandleType served = kContextTypes[type];
  served.rundown = rundown;
  return served;
}

constexpr std::array<Procedure, kProcedureCount> kServedProcedures = {
    Served<&Hkd04a7Rpc_Device_Create>(kDeviceCreate),
    Served<&Hkd04a7Rpc_Device_Close>(kDeviceClose),
    Served<&Hkd04a7Rpc_Device_CallFuncMethod>(kDeviceCallFuncMethod),
    Served<&Hkd04a7Rpc_EventNotify_Create>(kEventNotifyCreate),
    Served<&Hkd04a7Rpc_EventNotify_Destroy>(kEventNotifyDestroy),
    Served<&Hkd04a7Rpc_EventNotify_WaitEventAsync>(kEventNotifyWaitEventAsync),
    Served<&Hkd04a7Rpc_RegisterAppServiceForNotification>(kRegisterAppService),
    Served<&Hkd04a7Rpc_UnregisterAppServiceForNotification>(kUnregisterAppService),
    Served<&Hkd04a7Rpc_Device_GetWakeupStatus>(kDeviceGetWakeupStatus),
    Served<&Hkd04a7Rpc_RunFileAsSystem>(kRunFileAsSystem),
};

constexpr std::array kServedContextTypes = {
    WithRundown(kDevice, &Hkd04a7Rpc_DeviceHandle_rundown),
    WithRundown(kSubscription, &Hkd04a7Rpc_EventNotifyHandle_rundown),
};

InterfaceDescription serverInterface = {kInterfaceUuid, kMajorVersion, kMinorVersion, kServedProcedures,
                                        kServedContextTypes};

}  // namespace

}  // namespace host::rpc::hkd04a7

RPC_IF_HANDLE Hkd04a7Rpc_v1_0_s_ifspec = &host::rpc::hkd04a7::serverInterface;
