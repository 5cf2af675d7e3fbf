#include "appservice/registered_app_services.h"

#include "appservice/app_service_delivery.h"
#include "appservice/delivery_count.h"
#include "common/handles.h"
#include "platform/errors.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

constexpr DWORD kNameCapacity = 200;  // characters, the terminator included
constexpr DWORD kDataCapacity = 400;  // bytes

// One value of a registration key, read into buffers that are used again for the next.
struct Registration {
  WCHAR packageFamilyName[kNameCapacity];
  WCHAR appServiceName[kDataCapacity / sizeof(WCHAR)];
};

// The platform's answer; ERROR_NO_MORE_ITEMS behind the last value. ERROR_INVALID_DATA for a value that is not a
// registration.
LSTATUS ReadRegistration(HKEY key, DWORD index, Registration& registration) {
  DWORD nameLength = kNameCapacity;
  DWORD type = REG_NONE;
  DWORD size = kDataCapacity;
  const LSTATUS status = RegEnumValueW(key, index, registration.packageFamilyName, &nameLength, nullptr, &type,
                                       reinterpret_cast<BYTE*>(registration.appServiceName), &size);
  if (status != ERROR_SUCCESS) return status;
  // Full data leave no room for the terminator, which the registry does not promise.
  if (size >= kDataCapacity || type != REG_SZ) return ERROR_INVALID_DATA;
  registration.appServiceName[size / sizeof(WCHAR)] = 0;
  return ERROR_SUCCESS;
}

bool HasValueAt(HKEY key, DWORD index) {
  DWORD values = 0;
  return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                          nullptr) == ERROR_SUCCESS &&
         index < values;
}

void StartRegisteredDelivery(const Registration& registration, Runtime::IPropertySet* message) {
  DebugLog(W("hkd04a7, RunRegisteredAppServiceCore, pfn=%s, svc=%s\n"), registration.packageFamilyName,
           registration.appServiceName);
  CountDelivery();
  SendEventToAppService(registration.packageFamilyName, registration.appServiceName, message,
                        &RegisteredAppServiceResultCallback);
}

}  // namespace

void RunRegisteredAppServiceCore(const WCHAR* keyPath, Runtime::IPropertySet* message) {
  Common::UniqueRegistryKey key;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, keyPath, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) return;
  Registration registration;
  for (DWORD index = 0;; ++index) {
    const LSTATUS status = ReadRegistration(key.Get(), index, registration);
    if (status == ERROR_NO_MORE_ITEMS) return;
    if (status == ERROR_SUCCESS) {
      StartRegisteredDelivery(registration, message);
    } else if (!HasValueAt(key.Get(), index)) {
      return;  // The key was removed meanwhile: it fails like this at every index.
    }
  }
}

void RegisteredAppServiceResultCallback(HRESULT result, Runtime::AppServiceConnectionStatus status,
                                        Runtime::IAppServiceResponse* response) {
  DebugLog(W("hkd04a7, RegisteredAppServiceResultCallback, hr=%08xh, constat=%u, res=%u\n"), result,
           static_cast<std::uint32_t>(status), response != nullptr ? 1u : 0u);
  CountDeliveryReported();
}

}  // namespace Quorvex::PC::Hkd04a7
