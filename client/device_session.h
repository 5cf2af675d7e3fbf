// A device session: the device's own functions, and what woke the machine.
//
// The session loads the device library at the service when it is opened and keeps it until it is closed. Calls block
// until the service answers. They may come from several threads; the service runs the calls of one session one after
// another. Use several sessions, over one connection, for calls side by side. Asynchronously: client/call_thread.h.
#pragma once

#include <shared_mutex>

#include "client/connection.h"
#include "client/status.h"
#include "platform/rpc_interface.h"

namespace client {

enum class WakeupKind : DWORD { Switch = 1, OneTouchButton = 2 };

class DeviceSession {
 public:
  // `connection` is open and outlives this object.
  explicit DeviceSession(Connection& connection);
  // Closes, and waits for calls that are being made.
  ~DeviceSession();
  DeviceSession(const DeviceSession&) = delete;
  DeviceSession& operator=(const DeviceSession&) = delete;

  // Opens the session. An open one is closed first. 0x8007007E where the service has no device library, 0x8007007F
  // where the library lacks an entry point, 0x8007000E out of memory.
  Status Open();

  // Calls the device function `functionCode`; code and arguments go to the device unchanged. On success `*result` is
  // the device's answer, whose bit 31 tells an error of the device. 0x80004005 where the function failed; `*result` is
  // then what the device left there. Without an answer of the service `*result` stays as it is.
  Status Call(DWORD functionCode, DWORD arg1, DWORD arg2, DWORD arg3, DWORD* result);

  // Which wake-up word is asked for goes through unchecked, so that unknown kinds can be tried (0x80070057). On success
  // `*info` is the word recorded at the last wake check, 0 where something else woke the machine. 0x800705B4 while the
  // check after a start or resume has not finished, 0x80004005 where the record could not be read.
  Status WakeupStatus(WakeupKind kind, DWORD* info);

  // Closes the session. RPC_X_SS_IN_NULL_CONTEXT where it is not open, which is also what the calls above then answer.
  // Where the service did not answer the session is closed all the same: the service ends it with the connection.
  Status Close();

  bool IsOpen() const;

  // The handle for the stubs, which stays this object's; null when closed. For calls that this class does not make.
  Hkd04a7Rpc_DeviceHandle Handle() const;

 private:
  Status CloseHandle();

  Connection& connection_;
  mutable std::shared_mutex lock_;  // held shared during a call on the handle, alone while the handle changes
  Hkd04a7Rpc_DeviceHandle handle_ = nullptr;
};

}  // namespace client
