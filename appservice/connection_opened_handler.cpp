#include "appservice/connection_opened_handler.h"

#include <new>

#include "appservice/response_handler.h"

namespace Quorvex::PC::Hkd04a7 {

using Runtime::AppServiceConnectionStatus;
using Runtime::AsyncStatus;

HRESULT STDMETHODCALLTYPE ConnectionOpenedHandler::Invoke(Runtime::IConnectOperation* operation, AsyncStatus status) {
  if (!Claim()) return S_OK;
  Progress progress{E_OUTOFMEMORY, AppServiceConnectionStatus::Unknown, true};
  try {
    progress = Continue(operation, status);
  } catch (const std::bad_alloc&) {
    // Out of a step before the message was sent, or of the sending itself.
  }
  if (progress.ended) callback_(progress.result, progress.status, nullptr);
  return progress.result;
}

ConnectionOpenedHandler::Progress ConnectionOpenedHandler::Continue(Runtime::IConnectOperation* operation,
                                                                    AsyncStatus status) {
  if (status != AsyncStatus::Completed) return {E_FAIL, AppServiceConnectionStatus::Unknown, true};
  auto connected = AppServiceConnectionStatus::Unknown;
  const HRESULT result = operation->GetResults(&connected);
  if (FAILED(result)) return {result, AppServiceConnectionStatus::Unknown, true};
  if (connected != AppServiceConnectionStatus::Success) return {result, connected, true};
  return Send(connected);
}

ConnectionOpenedHandler::Progress ConnectionOpenedHandler::Send(AppServiceConnectionStatus status) {
  const Common::UniqueComPointer<ResponseHandler> handler(new ResponseHandler(status, callback_));
  Common::UniqueComPointer<Runtime::IResponseOperation> operation;
  const HRESULT sent = connection_.Get()->SendMessageAsync(message_.Get(), operation.Receive());
  if (FAILED(sent)) return {sent, status, true};
  const HRESULT attached = operation.Get()->put_Completed(handler.Get());
  return {attached, AppServiceConnectionStatus::Unknown, FAILED(attached) && handler.Get()->Claim()};
}

}  // namespace Quorvex::PC::Hkd04a7
