// The second half of a delivery: what happens when its connection has been opened, or could not be.
#pragma once

#include "appservice/app_service_delivery.h"
#include "appservice/completion_handler.h"
#include "common/com_pointer.h"

namespace Quorvex::PC::Hkd04a7 {

// Sends the message over the open connection and leaves the rest to a ResponseHandler; reports when it comes to
// nothing. Holds references on connection and message for as long as the runtime holds it.
class ConnectionOpenedHandler final
    : public CompletionHandler<Runtime::IConnectCompletedHandler, Runtime::IID_IConnectCompletedHandler> {
 public:
  ConnectionOpenedHandler(Runtime::IAppServiceConnection* connection, Runtime::IPropertySet* message,
                          AppServiceResultCallback callback)
      : connection_(Common::AddReference(connection)), message_(Common::AddReference(message)), callback_(callback) {}

  // What was reported; the success of attaching the next handler when nothing was.
  HRESULT STDMETHODCALLTYPE Invoke(Runtime::IConnectOperation* operation, Runtime::AsyncStatus status) override;

 private:
  // How the delivery stands after a step.
  struct Progress {
    HRESULT result;
    Runtime::AppServiceConnectionStatus status;
    bool ended;  // to be reported here
  };
  Progress Continue(Runtime::IConnectOperation* operation, Runtime::AsyncStatus status);
  Progress Send(Runtime::AppServiceConnectionStatus status);

  const Common::UniqueComPointer<Runtime::IAppServiceConnection> connection_;
  const Common::UniqueComPointer<Runtime::IPropertySet> message_;
  const AppServiceResultCallback callback_;
};

}  // namespace Quorvex::PC::Hkd04a7
