// The app services that the user has registered, as client mode reads them.
#pragma once

#include "platform/app_service.h"
#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Starts the delivery of `message` to each app service registered in HKEY_CURRENT_USER\keyPath, on the thread that
// holds the DeliveryStart. Each delivery is counted and ends in one call of RegisteredAppServiceResultCallback, on this
// thread or another. A value that is no text or does not fit (a name of 200 characters or more, data of 400 bytes or
// more) is passed over in silence, and so is a key that is not there.
void RunRegisteredAppServiceCore(const WCHAR* keyPath, Runtime::IPropertySet* message);

// Logs the result of one delivery and counts it down. `response` may be null and stays the caller's. Any thread.
void RegisteredAppServiceResultCallback(HRESULT result, Runtime::AppServiceConnectionStatus status,
                                        Runtime::IAppServiceResponse* response);

}  // namespace Quorvex::PC::Hkd04a7
