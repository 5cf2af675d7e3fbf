#include "appservice/response_handler.h"

#include <new>

#include "common/com_pointer.h"
#include "common/hresult.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Runtime::AsyncStatus;
using UniqueResponse = Common::UniqueComPointer<Runtime::IAppServiceResponse>;

HRESULT TakeResponse(Runtime::IResponseOperation* operation, AsyncStatus status, UniqueResponse& response) {
  if (status == AsyncStatus::Canceled) return Common::HresultFromWin32(ERROR_CANCELLED);
  if (status != AsyncStatus::Completed) return E_FAIL;
  try {
    return operation->GetResults(response.Receive());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT STDMETHODCALLTYPE ResponseHandler::Invoke(Runtime::IResponseOperation* operation, AsyncStatus status) {
  if (!Claim()) return S_OK;
  UniqueResponse response;
  const HRESULT result = TakeResponse(operation, status, response);
  if (FAILED(result)) {
    callback_(result, Runtime::AppServiceConnectionStatus::Unknown, nullptr);
  } else {
    callback_(result, status_, response.Get());
  }
  return result;
}

}  // namespace Quorvex::PC::Hkd04a7
