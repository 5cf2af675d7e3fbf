#include "platform/host/runtime/app_service_response.h"

#include "platform/host/runtime/runtime_object.h"

namespace host::runtime {

using namespace Runtime;

namespace {

class AppServiceResponse final : public RuntimeObject<Has<IAppServiceResponse, IID_IAppServiceResponse>> {
 public:
  explicit AppServiceResponse(const Reference<ValueSet>& message) : message_(message) {}

  HRESULT STDMETHODCALLTYPE get_Message(IPropertySet** message) override {
    if (!message) return E_POINTER;
    *message = Reference(message_).Detach();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Status(AppServiceResponseStatus* status) override {
    if (!status) return E_POINTER;
    *status = message_ ? AppServiceResponseStatus::Success : AppServiceResponseStatus::Failure;
    return S_OK;
  }

 private:
  std::u16string_view ClassName() const override { return u"Windows.ApplicationModel.AppService.AppServiceResponse"; }

  const Reference<ValueSet> message_;
};

}  // namespace

Reference<IAppServiceResponse> MakeAppServiceResponse(const Reference<ValueSet>& message) {
  return Reference<IAppServiceResponse>::Adopt(new AppServiceResponse(message));
}

}  // namespace host::runtime
