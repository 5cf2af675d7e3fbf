#include "tests/support/device_session.h"

#include "platform/rpc_client.h"

namespace support {
namespace {

template <typename Stub>
DWORD Outcome(Stub stub) {
  HRESULT result = 0;
  const RPC_STATUS status = CatchRpcException([&] { result = stub(); });
  return static_cast<DWORD>(status != RPC_S_OK ? status : result);
}

}  // namespace

DeviceSession::~DeviceSession() {
  if (device_ != nullptr) Close();
  Vanish();
}

DWORD DeviceSession::Open() {
  return Outcome([&] { return Client_Hkd04a7Rpc_Device_Create(binding_, &device_); });
}

DWORD DeviceSession::Call(DWORD functionCode, DWORD arg1, DWORD arg2, DWORD arg3, DWORD* result) {
  return Outcome(
      [&] { return Client_Hkd04a7Rpc_Device_CallFuncMethod(device_, functionCode, arg1, arg2, arg3, result); });
}

DWORD DeviceSession::WakeupStatus(DWORD wakeupKind, DWORD* wakeupInfo) {
  return Outcome([&] { return Client_Hkd04a7Rpc_Device_GetWakeupStatus(device_, wakeupKind, wakeupInfo); });
}

DWORD DeviceSession::Close() {
  return Outcome([&] { return Client_Hkd04a7Rpc_Device_Close(&device_); });
}

void DeviceSession::Vanish() {
  if (device_ != nullptr) RpcSsDestroyClientContext(&device_);
}

}  // namespace support
