// The requests of packaged applications that one of their app services be told about an event, kept in the hive of the
// user who asked.
//
// Both operations run on the RPC runtime's thread that serves the request, with no impersonation in force, and return
// with none in force. They find the user by the client's token and work on the hive as the service. Nothing is kept in
// memory. May throw std::bad_alloc, with no impersonation in force either.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Bits of the flags word; the others are ignored.
inline constexpr DWORD APPSERVICE_REG_ANY_DATA1 = 1;  // the event-only key; `data1` is not used
inline constexpr DWORD APPSERVICE_REG_QUERY = 2;      // registering only: write nothing, tell whether it is registered

// Registers `appServiceName` of the package for the event, instead of the name registered before. With
// APPSERVICE_REG_QUERY: S_OK when exactly this name is registered, S_FALSE when another one is, 0x80070002 when none
// is, 0x800700EA when the registered name has 40 characters or more. E_FAIL when the user cannot be found out; any
// other failure is that of the registry.
HRESULT RegisterAppServiceForNotification(const WCHAR* packageFamilyName, const WCHAR* appServiceName, DWORD flags,
                                          DWORD eventId, DWORD data1);

// Removes the package's registration, and with the last one of a key the key. 0x80070002 when there is none. A
// registration that comes in at the same time is not lost.
HRESULT UnregisterAppServiceForNotification(const WCHAR* packageFamilyName, DWORD flags, DWORD eventId, DWORD data1);

}  // namespace Quorvex::PC::Hkd04a7
