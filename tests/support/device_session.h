// A device session of an RPC client, one call at a time.
#pragma once

#include "platform/rpc.h"
#include "platform/rpc_interface.h"

namespace support {

// Each call answers the runtime's status, or the procedure's result when the runtime's is 0.
class DeviceSession {
 public:
  explicit DeviceSession(handle_t binding) : binding_(binding) {}
  // Closes, if open.
  ~DeviceSession();
  DeviceSession(const DeviceSession&) = delete;
  DeviceSession& operator=(const DeviceSession&) = delete;

  DWORD Open();
  DWORD Call(DWORD functionCode, DWORD arg1, DWORD arg2, DWORD arg3, DWORD* result);
  DWORD WakeupStatus(DWORD wakeupKind, DWORD* wakeupInfo);
  DWORD Close();
  // Forgets the handle without telling the service, as a client's end does; for before its connection vanishes.
  void Vanish();

  Hkd04a7Rpc_DeviceHandle Handle() const { return device_; }

 private:
  handle_t binding_;
  Hkd04a7Rpc_DeviceHandle device_ = nullptr;
};

}  // namespace support
