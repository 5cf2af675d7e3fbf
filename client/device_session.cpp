#include "client/device_session.h"

#include <mutex>

#include "platform/rpc_client.h"

namespace client {

DeviceSession::DeviceSession(Connection& connection) : connection_(connection) {}

DeviceSession::~DeviceSession() {
  Close();
}

Status DeviceSession::Open() {
  std::unique_lock guard(lock_);
  if (handle_ != nullptr) CloseHandle();
  Status status{"Hkd04a7Rpc_Device_Create"};
  status.rpc =
      CatchRpcException([&] { status.result = Client_Hkd04a7Rpc_Device_Create(connection_.Binding(), &handle_); });
  return status;
}

Status DeviceSession::Call(DWORD functionCode, DWORD arg1, DWORD arg2, DWORD arg3, DWORD* result) {
  std::shared_lock guard(lock_);
  Status status{"Hkd04a7Rpc_Device_CallFuncMethod"};
  status.rpc = CatchRpcException([&] {
    status.result = Client_Hkd04a7Rpc_Device_CallFuncMethod(handle_, functionCode, arg1, arg2, arg3, result);
  });
  return status;
}

Status DeviceSession::WakeupStatus(WakeupKind kind, DWORD* info) {
  std::shared_lock guard(lock_);
  Status status{"Hkd04a7Rpc_Device_GetWakeupStatus"};
  status.rpc = CatchRpcException(
      [&] { status.result = Client_Hkd04a7Rpc_Device_GetWakeupStatus(handle_, static_cast<DWORD>(kind), info); });
  return status;
}

Status DeviceSession::Close() {
  std::unique_lock guard(lock_);
  return CloseHandle();
}

Status DeviceSession::CloseHandle() {
  Status status{"Hkd04a7Rpc_Device_Close"};
  status.rpc = CatchRpcException([&] { status.result = Client_Hkd04a7Rpc_Device_Close(&handle_); });
  if (handle_ != nullptr) RpcSsDestroyClientContext(&handle_);
  return status;
}

bool DeviceSession::IsOpen() const {
  return Handle() != nullptr;
}

Hkd04a7Rpc_DeviceHandle DeviceSession::Handle() const {
  std::shared_lock guard(lock_);
  return handle_;
}

}  // namespace client
