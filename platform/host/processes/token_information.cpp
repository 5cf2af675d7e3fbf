// What a token says.
#include <algorithm>
#include <cstring>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/processes/tokens.h"
#include "platform/host/security/sid.h"

namespace {

// Whether the answer's `size` bytes fit; tells the size either way.
bool Fits(DWORD size, LPVOID information, DWORD length, PDWORD returnLength) {
  *returnLength = size;
  if (information != nullptr && length >= size) return true;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return false;
}

// The structure and behind it the SID that it points to.
BOOL GiveUser(const host::TokenFacts& facts, LPVOID information, DWORD length, PDWORD returnLength) {
  const host::security::Bytes sid = host::security::ParseSid(facts.userSid);
  if (sid.empty()) return host::FailWith(ERROR_INVALID_SID);
  const auto size = static_cast<DWORD>(sizeof(TOKEN_USER) + sid.size());
  if (!Fits(size, information, length, returnLength)) return FALSE;
  BYTE* const behind = static_cast<BYTE*>(information) + sizeof(TOKEN_USER);
  std::copy(sid.begin(), sid.end(), behind);
  const TOKEN_USER user{{behind, 0}};
  std::memcpy(information, &user, sizeof(user));
  return TRUE;
}

BOOL GiveSession(const host::TokenFacts& facts, LPVOID information, DWORD length, PDWORD returnLength) {
  const DWORD session = facts.session;
  if (!Fits(sizeof(session), information, length, returnLength)) return FALSE;
  std::memcpy(information, &session, sizeof(session));
  return TRUE;
}

LONG FailWithBoth(LONG code) {
  SetLastError(static_cast<DWORD>(code));
  return code;
}

}  // namespace

BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS kind, LPVOID information, DWORD length,
                         PDWORD returnLength) {
  if (const auto code = host::InjectedFailure("GetTokenInformation")) return host::FailWith(*code);
  if (returnLength == nullptr) host::Unsupported("GetTokenInformation", "returnLength null");
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_QUERY);
  if (object == nullptr) return FALSE;
  switch (kind) {
    case TokenUser:
      return GiveUser(object->Facts(), information, length, returnLength);
    case TokenSessionId:
      return GiveSession(object->Facts(), information, length, returnLength);
  }
  host::Unsupported("GetTokenInformation", "kind other than TokenUser and TokenSessionId");
}

LONG GetPackageFamilyNameFromToken(HANDLE token, UINT* length, PWSTR packageFamilyName) {
  if (const auto code = host::InjectedFailure("GetPackageFamilyNameFromToken")) {
    return FailWithBoth(static_cast<LONG>(*code));
  }
  if (length == nullptr || (packageFamilyName == nullptr && *length != 0)) return FailWithBoth(ERROR_INVALID_PARAMETER);
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_QUERY);
  if (object == nullptr) return static_cast<LONG>(GetLastError());
  const std::u16string name = host::ToUtf16(object->Facts().packageFamilyName);
  if (name.empty()) return FailWithBoth(APPMODEL_ERROR_NO_PACKAGE);
  const UINT capacity = std::exchange(*length, static_cast<UINT>(name.size() + 1));
  if (capacity < name.size() + 1) return FailWithBoth(ERROR_INSUFFICIENT_BUFFER);
  std::copy_n(name.c_str(), name.size() + 1, packageFamilyName);
  return ERROR_SUCCESS;
}

BOOL UnloadUserProfile(HANDLE token, HANDLE /*profile: no call here makes one*/) {
  if (host::ObjectOf<host::TokenObject>(token, TOKEN_IMPERSONATE | TOKEN_DUPLICATE) == nullptr) return FALSE;
  return host::FailWith(ERROR_INVALID_HANDLE);
}
