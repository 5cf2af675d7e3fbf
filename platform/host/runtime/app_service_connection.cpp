#include "platform/host/runtime/app_service_connection.h"

#include <utility>

#include "platform/host/base/text.h"
#include "platform/host/runtime/app_service_opening.h"
#include "platform/host/runtime/app_service_response.h"
#include "platform/host/runtime/string_text.h"

namespace host::runtime {

using namespace Runtime;

namespace {

constexpr std::u16string_view kConnectClass =
    u"Windows.Foundation.IAsyncOperation`1<Windows.ApplicationModel.AppService.AppServiceConnectionStatus>";
constexpr std::u16string_view kResponseClass =
    u"Windows.Foundation.IAsyncOperation`1<Windows.ApplicationModel.AppService.AppServiceResponse>";

void FinishSending(ResponseOperation& sending, const Reference<ValueSet>& answer) {
  try {
    sending.Finish(MakeAppServiceResponse(answer), CallOn::kPool);
  } catch (const std::bad_alloc&) {
    sending.Fail(E_OUTOFMEMORY, CallOn::kPool);
  }
}

}  // namespace

HRESULT AppServiceConnection::get_AppServiceName(HSTRING* name) {
  return Method("IAppServiceConnection.get_AppServiceName", [&] { return CopyName(appServiceName_, name); });
}

HRESULT AppServiceConnection::put_AppServiceName(HSTRING name) {
  return Method("IAppServiceConnection.put_AppServiceName", [&] { return PutName(name, &appServiceName_); });
}

HRESULT AppServiceConnection::get_PackageFamilyName(HSTRING* name) {
  return Method("IAppServiceConnection.get_PackageFamilyName", [&] { return CopyName(packageFamilyName_, name); });
}

HRESULT AppServiceConnection::put_PackageFamilyName(HSTRING name) {
  return Method("IAppServiceConnection.put_PackageFamilyName", [&] { return PutName(name, &packageFamilyName_); });
}

HRESULT AppServiceConnection::CopyName(const std::u16string& from, HSTRING* name) {
  if (!name) return E_POINTER;
  const std::lock_guard lock(mutex_);
  return WindowsCreateString(from.data(), static_cast<UINT32>(from.size()), name);
}

HRESULT AppServiceConnection::PutName(HSTRING name, std::u16string* to) {
  std::u16string text(TextOf(name));
  const std::lock_guard lock(mutex_);
  to->swap(text);
  return S_OK;
}

HRESULT AppServiceConnection::OpenAsync(IConnectOperation** operation) {
  if (!operation) return E_POINTER;
  *operation = nullptr;
  return Method("IAppServiceConnection.OpenAsync", [&] { return StartOpening(operation); });
}

// The machine may take its time to start a program, so a thread of the pool asks it, and calls the handler too.
HRESULT AppServiceConnection::StartOpening(IConnectOperation** operation) {
  const auto opening = Make<ConnectOperation>(kConnectClass);
  const std::lock_guard lock(mutex_);
  if (packageFamilyName_.empty() || appServiceName_.empty()) return E_INVALIDARG;
  if (opening_ || channel_) return E_ILLEGAL_METHOD_CALL;
  const bool queued = RunOnPool([self = Reference(this), opening, package = ToUtf8(packageFamilyName_),
                                 service = ToUtf8(appServiceName_)] { self->Open(*opening.Get(), package, service); });
  if (!queued) return E_OUTOFMEMORY;
  opening_ = true;
  *operation = Reference(opening).Detach();
  return S_OK;
}

void AppServiceConnection::Open(ConnectOperation& operation, const std::string& package, const std::string& service) {
  AppServiceOpened opened;
  opened.error = Method("AppServiceConnection.Open", [&] {
    opened = OpenAppService(package, service);
    return opened.error;
  });
  {
    const std::lock_guard lock(mutex_);
    opening_ = false;
    channel_ = opened.channel;
  }
  const bool wanted = FAILED(opened.error) ? operation.Fail(opened.error, CallOn::kThisThread)
                                           : operation.Finish(opened.status, CallOn::kThisThread);
  if (wanted) return;
  const std::lock_guard lock(mutex_);
  if (channel_ == opened.channel) channel_.reset();  // it was cancelled meanwhile
}

HRESULT AppServiceConnection::SendMessageAsync(IPropertySet* message, IResponseOperation** operation) {
  if (!operation) return E_POINTER;
  *operation = nullptr;
  if (!message) return E_POINTER;
  return Method("IAppServiceConnection.SendMessageAsync", [&] {
    const auto* values = dynamic_cast<ValueSet*>(message);
    return values ? Send(*values, operation) : E_INVALIDARG;
  });
}

HRESULT AppServiceConnection::Send(const ValueSet& message, IResponseOperation** operation) {
  std::shared_ptr<AppServiceChannel> channel;
  {
    const std::lock_guard lock(mutex_);
    channel = channel_;
  }
  if (!channel) return E_ILLEGAL_METHOD_CALL;
  const std::uint64_t id = channel->NextId();
  const auto request = EncodeRequest(id, message);
  if (!request) return E_INVALIDARG;
  const auto sending = Make<ResponseOperation>(kResponseClass);
  if (const auto code = InjectedFailure("AppServiceConnection.Send")) {
    sending->Fail(static_cast<HRESULT>(*code), CallOn::kPool);
  } else {
    // Until it ends the operation holds the channel, and the channel the operation.
    sending->OnCancel([channel, id] { channel->Forget(id); });
    channel->Send(id, *request,
                  [sending](const Reference<ValueSet>& answer) { FinishSending(*sending.Get(), answer); });
  }
  *operation = Reference(sending).Detach();
  return S_OK;
}

}  // namespace host::runtime
