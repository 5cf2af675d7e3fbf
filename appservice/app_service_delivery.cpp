#include "appservice/app_service_delivery.h"

#include <new>
#include <string_view>

#include "appservice/connection_opened_handler.h"
#include "appservice/runtime_string.h"
#include "common/com_pointer.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Common::UniqueComPointer;
using Runtime::AppServiceConnectionStatus;
using Runtime::IAppServiceConnection;

HRESULT ActivateConnection(UniqueComPointer<IAppServiceConnection>& connection) {
  const RuntimeStringReference className(Runtime::kAppServiceConnectionClass);
  if (FAILED(className.Result())) return className.Result();
  UniqueComPointer<IInspectable> instance;
  const HRESULT result = RoActivateInstance(className.Get(), instance.Receive());
  if (FAILED(result)) return result;
  return instance.Get()->QueryInterface(Runtime::IID_IAppServiceConnection, Common::ReceiveInterface(connection));
}

using PutName = HRESULT (STDMETHODCALLTYPE IAppServiceConnection::*)(HSTRING);

HRESULT SetName(IAppServiceConnection* connection, PutName put, WideStringView name) {
  UniqueRuntimeString string;
  const HRESULT result = WindowsCreateString(name.data(), static_cast<UINT32>(name.size()), string.Receive());
  return FAILED(result) ? result : (connection->*put)(string.Get());
}

HRESULT PrepareConnection(const WCHAR* packageFamilyName, const WCHAR* appServiceName,
                          UniqueComPointer<IAppServiceConnection>& connection) {
  HRESULT result = ActivateConnection(connection);
  if (SUCCEEDED(result)) {
    result = SetName(connection.Get(), &IAppServiceConnection::put_PackageFamilyName, packageFamilyName);
  }
  if (SUCCEEDED(result)) result = SetName(connection.Get(), &IAppServiceConnection::put_AppServiceName, appServiceName);
  return result;
}

// S_OK when the handler reports, or has reported; a failure when nobody does.
HRESULT OpenConnection(IAppServiceConnection* connection, Runtime::IPropertySet* message,
                       AppServiceResultCallback callback) {
  const UniqueComPointer<ConnectionOpenedHandler> handler(new ConnectionOpenedHandler(connection, message, callback));
  UniqueComPointer<Runtime::IConnectOperation> operation;
  const HRESULT opening = connection->OpenAsync(operation.Receive());
  if (FAILED(opening)) return opening;
  const HRESULT attached = operation.Get()->put_Completed(handler.Get());
  return FAILED(attached) && handler.Get()->Claim() ? attached : S_OK;
}

HRESULT StartDelivery(const WCHAR* packageFamilyName, const WCHAR* appServiceName, Runtime::IPropertySet* message,
                      AppServiceResultCallback callback) {
  try {
    UniqueComPointer<IAppServiceConnection> connection;
    const HRESULT prepared = PrepareConnection(packageFamilyName, appServiceName, connection);
    return FAILED(prepared) ? prepared : OpenConnection(connection.Get(), message, callback);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

void SendEventToAppService(const WCHAR* packageFamilyName, const WCHAR* appServiceName, Runtime::IPropertySet* message,
                           AppServiceResultCallback callback) {
  const HRESULT started = StartDelivery(packageFamilyName, appServiceName, message, callback);
  if (FAILED(started)) callback(started, AppServiceConnectionStatus::Unknown, nullptr);
}

}  // namespace Quorvex::PC::Hkd04a7
