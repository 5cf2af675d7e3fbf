// Device sessions: a client's own reference to the device utility library, behind a device handle.
//
// Callable from every thread.
#pragma once

#include <memory>

#include "device/hkd04a7_dll.h"
#include "platform/rpc_interface.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Loads and binds the library beside the service's executable. S_OK with the new session's handle in `device`, which
// EndDeviceSession ends; otherwise `device` is as it was:
//   0x8007007E    the library's path cannot be formed; a failing path step leaves its HRESULT as the last error
//   E_OUTOFMEMORY memory is short
//   another       the loader's last error, which is also logged as a line
HRESULT OpenDeviceSession(Hkd04a7Rpc_DeviceHandle* device);

// A reference to the session, which stays usable while it is held, whatever becomes of the handle. Null when `device`
// is no open session: null, ended, or a handle of another type.
std::shared_ptr<CHkd04a7DllInternalAPI> FindDeviceSession(Hkd04a7Rpc_DeviceHandle device);

// Ends a session; its library reference goes with the last call that still uses it. False when `device` is no open
// session.
bool EndDeviceSession(Hkd04a7Rpc_DeviceHandle device);

}  // namespace Quorvex::PC::Hkd04a7::Service
