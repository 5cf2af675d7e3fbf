// The interface as data: its ten procedures in procedure order, without the routines behind them.
#pragma once

#include <array>

#include "platform/host/rpc/stub.h"

namespace host::rpc::hkd04a7 {

inline constexpr UUID kInterfaceUuid = {0x664DEE24, 0xD6E1, 0x412E, {0xB1, 0x5D, 0x31, 0xF8, 0xA4, 0xD0, 0x48, 0x76}};
inline constexpr std::uint16_t kMajorVersion = 1;
inline constexpr std::uint16_t kMinorVersion = 0;

enum ContextType : std::uint8_t { kDevice, kSubscription };

enum ProcedureNumber : std::uint8_t {
  kDeviceCreate,
  kDeviceClose,
  kDeviceCallFuncMethod,
  kEventNotifyCreate,
  kEventNotifyDestroy,
  kEventNotifyWaitEventAsync,
  kRegisterAppService,
  kUnregisterAppService,
  kDeviceGetWakeupStatus,
  kRunFileAsSystem,
  kProcedureCount
};

inline constexpr std::array kContextTypes = {
    ContextHandleType{"Hkd04a7Rpc_DeviceHandle", true},
    ContextHandleType{"Hkd04a7Rpc_EventNotifyHandle", false},
};

inline constexpr Parameter kBinding = {"binding", ParameterKind::Binding, Direction::In};

constexpr Parameter InLong(const char* name) {
  return {name, ParameterKind::Long, Direction::In};
}
constexpr Parameter OutLong(const char* name) {
  return {name, ParameterKind::Long, Direction::Out};
}
constexpr Parameter InString(const char* name) {
  return {name, ParameterKind::WideString, Direction::In};
}
constexpr Parameter OutRecord(const char* name) {
  return {name, ParameterKind::Record, Direction::Out};
}
constexpr Parameter Device(Direction direction) {
  return {"device", ParameterKind::Context, direction, kDevice};
}
constexpr Parameter Subscription(Direction direction) {
  return {"subscription", ParameterKind::Context, direction, kSubscription};
}

inline constexpr std::array kDeviceCreateParameters = {kBinding, Device(Direction::Out)};
inline constexpr std::array kDeviceCloseParameters = {Device(Direction::InOut)};
inline constexpr std::array kDeviceCallFuncMethodParameters = {
    Device(Direction::In), InLong("functionCode"), InLong("arg1"), InLong("arg2"), InLong("arg3"), OutLong("result")};
inline constexpr std::array kEventNotifyCreateParameters = {kBinding, Subscription(Direction::Out)};
inline constexpr std::array kEventNotifyDestroyParameters = {Subscription(Direction::InOut)};
inline constexpr std::array kEventNotifyWaitParameters = {Subscription(Direction::In), OutRecord("event")};
inline constexpr std::array kRegisterAppServiceParameters = {
    kBinding,       InString("packageFamilyName"), InString("appServiceName"), InLong("flags"), InLong("eventId"),
    InLong("data1")};
inline constexpr std::array kUnregisterAppServiceParameters = {kBinding, InString("packageFamilyName"), InLong("flags"),
                                                               InLong("eventId"), InLong("data1")};
inline constexpr std::array kDeviceGetWakeupStatusParameters = {Device(Direction::In), InLong("wakeupKind"),
                                                                OutLong("wakeupInfo")};
inline constexpr std::array kRunFileAsSystemParameters = {kBinding, InLong("flags"), InString("command"),
                                                          InString("par"), OutLong("exitCode")};

inline constexpr std::array<Procedure, kProcedureCount> kProcedures = {{
    {"Hkd04a7Rpc_Device_Create", false, kDeviceCreateParameters},
    {"Hkd04a7Rpc_Device_Close", false, kDeviceCloseParameters},
    {"Hkd04a7Rpc_Device_CallFuncMethod", false, kDeviceCallFuncMethodParameters},
    {"Hkd04a7Rpc_EventNotify_Create", false, kEventNotifyCreateParameters},
    {"Hkd04a7Rpc_EventNotify_Destroy", false, kEventNotifyDestroyParameters},
    {"Hkd04a7Rpc_EventNotify_WaitEventAsync", true, kEventNotifyWaitParameters},
    {"Hkd04a7Rpc_RegisterAppServiceForNotification", false, kRegisterAppServiceParameters},
    {"Hkd04a7Rpc_UnregisterAppServiceForNotification", false, kUnregisterAppServiceParameters},
    {"Hkd04a7Rpc_Device_GetWakeupStatus", false, kDeviceGetWakeupStatusParameters},
    {"Hkd04a7Rpc_RunFileAsSystem", false, kRunFileAsSystemParameters},
}};

}  // namespace host::rpc::hkd04a7
