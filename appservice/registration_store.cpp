#include "appservice/registration_store.h"

#include "appservice/registration_keys.h"
#include "common/access_token.h"
#include "common/handles.h"
#include "common/hresult.h"
#include "common/mutex.h"
#include "service/debug_log.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

// Held over each change of a registration key: unregistering looks whether the key has become empty before it removes
// it, and what is registered in between would go with the key. A leaf.
Common::Mutex g_registrationLock;

HRESULT Answer(LSTATUS code) {
  return Common::HresultFromWin32(static_cast<DWORD>(code));
}

// Who the client of the call is. The log lines name `operation`.
bool ReadClientUser(const WCHAR* operation, Common::CSid& user) {
  Common::CAccessToken client;
  if (!client.OpenRPCClientToken()) {
    DebugLog(W("hkd04a7, %s, fail OpenRPCClientToken=0x%08x\n"), operation, GetLastError());
    return false;
  }
  // Impersonating from here to Revert.
  const bool read = client.GetUser(user);
  const DWORD error = GetLastError();
  client.Revert();
  if (!read) DebugLog(W("hkd04a7, %s, fail GetUser=0x%08x\n"), operation, error);
  return read;
}

WideString KeyPathOf(Common::CSid& user, DWORD flags, DWORD eventId, DWORD data1) {
  const auto scope =
      (flags & APPSERVICE_REG_ANY_DATA1) != 0 ? RegistrationScope::kEveryOccurrence : RegistrationScope::kOneData1;
  return FormatUserAppServiceKeyPath(user.Sid(), eventId, scope, data1);
}

HRESULT QueryRegistration(const WideString& path, const WCHAR* packageFamilyName, WideStringView appServiceName) {
  WCHAR registered[40];
  DWORD size = sizeof(registered);
  const LSTATUS code =
      RegGetValueW(HKEY_USERS, path.c_str(), packageFamilyName, RRF_RT_REG_SZ, nullptr, registered, &size);
  if (code != ERROR_SUCCESS) return Answer(code);
  return appServiceName == registered ? S_OK : S_FALSE;
}

HRESULT WriteRegistration(const WideString& path, const WCHAR* packageFamilyName, WideStringView appServiceName) {
  const auto size = static_cast<DWORD>((appServiceName.size() + 1) * sizeof(WCHAR));
  const Common::MutexLock hold(g_registrationLock);
  return Answer(RegSetKeyValueW(HKEY_USERS, path.c_str(), packageFamilyName, REG_SZ, appServiceName.data(), size));
}

bool HasNoValues(HKEY key) {
  DWORD values = 0;
  return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                          nullptr) == ERROR_SUCCESS &&
         values == 0;
}

HRESULT RemoveRegistration(const WideString& path, const WCHAR* packageFamilyName) {
  const Common::MutexLock hold(g_registrationLock);
  Common::UniqueRegistryKey key;
  LSTATUS code = RegOpenKeyExW(HKEY_USERS, path.c_str(), 0, KEY_ALL_ACCESS, key.Receive());
  if (code == ERROR_SUCCESS) code = RegDeleteValueW(key.Get(), packageFamilyName);
  if (code != ERROR_SUCCESS) return Answer(code);
  // A key that stays behind empty does no harm.
  if (HasNoValues(key.Get())) RegDeleteKeyW(HKEY_USERS, path.c_str());
  return S_OK;
}

}  // namespace

HRESULT RegisterAppServiceForNotification(const WCHAR* packageFamilyName, const WCHAR* appServiceName, DWORD flags,
                                          DWORD eventId, DWORD data1) {
  Common::CSid user;
  if (!ReadClientUser(W("RegisterAppServiceForNotification"), user)) return E_FAIL;
  const WideString path = KeyPathOf(user, flags, eventId, data1);
  return (flags & APPSERVICE_REG_QUERY) != 0 ? QueryRegistration(path, packageFamilyName, appServiceName)
                                             : WriteRegistration(path, packageFamilyName, appServiceName);
}

HRESULT UnregisterAppServiceForNotification(const WCHAR* packageFamilyName, DWORD flags, DWORD eventId, DWORD data1) {
  Common::CSid user;
  if (!ReadClientUser(W("UnregisterAppServiceForNotification"), user)) return E_FAIL;
  return RemoveRegistration(KeyPathOf(user, flags, eventId, data1), packageFamilyName);
}

}  // namespace Quorvex::PC::Hkd04a7
