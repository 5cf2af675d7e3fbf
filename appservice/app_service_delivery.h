// The delivery of one message to one app service.
#pragma once

#include "platform/app_service.h"

namespace Quorvex::PC::Hkd04a7 {

// How a delivery went: what the failing step answered, or a success code; the connection's status, Unknown where it is
// not known; and the app service's response, null without one. The response is lent. Called on any thread, several
// calls at the same time; must not throw.
using AppServiceResultCallback = void (*)(HRESULT result, Runtime::AppServiceConnectionStatus status,
                                          Runtime::IAppServiceResponse* response);

// Starts to deliver `message`, and returns once the connection is being opened. Every outcome ends in exactly one call
// of `callback`, on this thread before the function returns or on one of the runtime's. The names are copied; `message`
// gets references of its own and must not change any more. The calling thread must have joined the runtime.
void SendEventToAppService(const WCHAR* packageFamilyName, const WCHAR* appServiceName, Runtime::IPropertySet* message,
                           AppServiceResultCallback callback);

}  // namespace Quorvex::PC::Hkd04a7
