// The end of a delivery whose message has been sent.
#pragma once

#include "appservice/app_service_delivery.h"
#include "appservice/completion_handler.h"

namespace Quorvex::PC::Hkd04a7 {

// Reports whether a response arrived; what it says is not looked at. Holds nothing but the callback and the
// connection's status.
class ResponseHandler final
    : public CompletionHandler<Runtime::IResponseCompletedHandler, Runtime::IID_IResponseCompletedHandler> {
 public:
  ResponseHandler(Runtime::AppServiceConnectionStatus status, AppServiceResultCallback callback)
      : status_(status), callback_(callback) {}

  // What was reported.
  HRESULT STDMETHODCALLTYPE Invoke(Runtime::IResponseOperation* operation, Runtime::AsyncStatus status) override;

 private:
  const Runtime::AppServiceConnectionStatus status_;
  const AppServiceResultCallback callback_;
};

}  // namespace Quorvex::PC::Hkd04a7
