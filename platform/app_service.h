// App services: messages to packaged applications, as the runtime's interfaces for them, for both builds (see
// runtime_interfaces.h for what holds for all of them).
#pragma once

#include "platform/runtime.h"

namespace Runtime {

enum class AppServiceConnectionStatus : int {
  Success = 0,
  AppNotInstalled = 1,
  AppUnavailable = 2,
  AppServiceUnavailable = 3,
  Unknown = 4
};
enum class AppServiceResponseStatus : int { Success = 0, Failure = 1, ResourceLimitsExceeded = 2, Unknown = 3 };

inline constexpr IID IID_IAppServiceResponse = IdentityOf("8d503cec-9aa3-4e68-9559-9de63e372ce4");
struct IAppServiceResponse : public IInspectable {
  // Null unless the status is Success.
  virtual HRESULT STDMETHODCALLTYPE get_Message(IPropertySet** message) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Status(AppServiceResponseStatus* status) = 0;

 protected:
  ~IAppServiceResponse() = default;
};

using IConnectOperation = IAsyncOperation<AppServiceConnectionStatus>;
using IConnectCompletedHandler = IAsyncOperationCompletedHandler<AppServiceConnectionStatus>;
inline constexpr IID IID_IConnectOperation = IdentityOf("0d0e6663-2639-5a9a-9cbc-30d7d4ce533b");
inline constexpr IID IID_IConnectCompletedHandler = IdentityOf("b6c6bbf2-72ca-5799-a651-d1990670097b");

using IResponseOperation = IAsyncOperation<IAppServiceResponse*>;
using IResponseCompletedHandler = IAsyncOperationCompletedHandler<IAppServiceResponse*>;
inline constexpr IID IID_IResponseOperation = IdentityOf("48755a7c-c88f-5ef0-9b4c-876fcc2610b4");
inline constexpr IID IID_IResponseCompletedHandler = IdentityOf("7ea7d7ec-e164-52c3-8e32-bba7126d9028");

// One connection to one app service. Its release ends the connection; a send that has not been answered keeps it.
inline constexpr IID IID_IAppServiceConnection = IdentityOf("9dd474a2-871f-4d52-89a9-9e090531bd27");
struct IAppServiceConnection : public IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_AppServiceName(HSTRING* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AppServiceName(HSTRING name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_PackageFamilyName(HSTRING* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_PackageFamilyName(HSTRING name) = 0;
  // Starts the app service's program where it does not run yet. The operation ends with the connection's status.
  virtual HRESULT STDMETHODCALLTYPE OpenAsync(IConnectOperation** operation) = 0;
  // Sends `message` as it stands now. The operation ends with the app service's response; one that ends before it has
  // answered gives a response of status Failure.
  virtual HRESULT STDMETHODCALLTYPE SendMessageAsync(IPropertySet* message, IResponseOperation** operation) = 0;

 protected:
  ~IAppServiceConnection() = default;
};

inline constexpr WCHAR kAppServiceConnectionClass[] = W("Windows.ApplicationModel.AppService.AppServiceConnection");

}  // namespace Runtime
