// The class "Windows.ApplicationModel.AppService.AppServiceConnection".
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/app_service.h"
#include "platform/host/runtime/app_service_channel.h"
#include "platform/host/runtime/async_operation.h"

namespace host::runtime {

using ConnectOperation = AsyncOperation<Runtime::AppServiceConnectionStatus, Runtime::IID_IConnectOperation>;
using ResponseOperation = AsyncOperation<Runtime::IAppServiceResponse*, Runtime::IID_IResponseOperation>;

// Names may be put at any time and count for the next OpenAsync. OpenAsync fails with E_INVALIDARG without a name and
// with E_ILLEGAL_METHOD_CALL while it is open or opening; so does SendMessageAsync while it is not open, and for a
// message that is no ValueSet of boxed numbers it fails with E_INVALIDARG.
class AppServiceConnection final
    : public RuntimeObject<Has<Runtime::IAppServiceConnection, Runtime::IID_IAppServiceConnection>> {
 public:
  HRESULT STDMETHODCALLTYPE get_AppServiceName(HSTRING* name) override;
  HRESULT STDMETHODCALLTYPE put_AppServiceName(HSTRING name) override;
  HRESULT STDMETHODCALLTYPE get_PackageFamilyName(HSTRING* name) override;
  HRESULT STDMETHODCALLTYPE put_PackageFamilyName(HSTRING name) override;
  HRESULT STDMETHODCALLTYPE OpenAsync(Runtime::IConnectOperation** operation) override;
  HRESULT STDMETHODCALLTYPE SendMessageAsync(Runtime::IPropertySet* message,
                                             Runtime::IResponseOperation** operation) override;

 private:
  std::u16string_view ClassName() const override { return Runtime::kAppServiceConnectionClass; }

  HRESULT StartOpening(Runtime::IConnectOperation** operation);
  void Open(ConnectOperation& operation, const std::string& package, const std::string& service);
  HRESULT Send(const ValueSet& message, Runtime::IResponseOperation** operation);
  HRESULT CopyName(const std::u16string& from, HSTRING* name);
  HRESULT PutName(HSTRING name, std::u16string* to);

  std::mutex mutex_;
  std::u16string appServiceName_;  // and what follows: guarded by mutex_
  std::u16string packageFamilyName_;
  bool opening_ = false;
  std::shared_ptr<AppServiceChannel> channel_;  // set while it is open
};

}  // namespace host::runtime
