// The way to an app service: asks the machine for it, and connects to it.
#pragma once

#include <memory>
#include <string>

#include "platform/app_service.h"
#include "platform/host/runtime/app_service_channel.h"

namespace host::runtime {

struct AppServiceOpened {
  HRESULT error = S_OK;  // the machine could not be asked
  Runtime::AppServiceConnectionStatus status = Runtime::AppServiceConnectionStatus::Unknown;
  std::shared_ptr<AppServiceChannel> channel;  // where the status is Success
};

// Blocks until the app service listens or cannot be had. Both names are UTF-8.
AppServiceOpened OpenAppService(const std::string& package, const std::string& service);

}  // namespace host::runtime
