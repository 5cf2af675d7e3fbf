// What a token's owner may do beyond its rights: privileges, which count while they are enabled.
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/processes/tokens.h"

namespace {

constexpr LUID kTcb{7, 0};

bool IsTcb(const LUID& luid) {
  return luid.LowPart == kTcb.LowPart && luid.HighPart == kTcb.HighPart;
}

// False when the token has not this privilege.
bool Adjust(const host::TokenObject& token, const LUID_AND_ATTRIBUTES& wanted) {
  if (!token.Facts().isSystem || !IsTcb(wanted.Luid)) return false;
  token.Privileges()->isTcbEnabled = (wanted.Attributes & SE_PRIVILEGE_ENABLED) != 0;
  return true;
}

}  // namespace

BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid) {
  if (const auto code = host::InjectedFailure("LookupPrivilegeValueW")) return host::FailWith(*code);
  if (system != nullptr) host::Unsupported("LookupPrivilegeValueW", "lpSystemName not null");
  if (name == nullptr || host::CompareNoCase(name, SE_TCB_NAME) != 0) return host::FailWith(ERROR_NO_SUCH_PRIVILEGE);
  *luid = kTcb;
  return TRUE;
}

BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES newState, DWORD,
                           PTOKEN_PRIVILEGES previousState, PDWORD returnLength) {
  if (const auto code = host::InjectedFailure("AdjustTokenPrivileges")) return host::FailWith(*code);
  if (previousState != nullptr || returnLength != nullptr) {
    host::Unsupported("AdjustTokenPrivileges", "PreviousState or ReturnLength not null");
  }
  const auto object = host::ObjectOf<host::TokenObject>(token, TOKEN_ADJUST_PRIVILEGES);
  if (object == nullptr) return FALSE;
  if (object->Privileges() == nullptr) host::Unsupported("AdjustTokenPrivileges", "the token of another process");
  if (!disableAll && newState == nullptr) return host::FailWith(ERROR_INVALID_PARAMETER);
  bool hasAll = true;
  if (disableAll) object->Privileges()->isTcbEnabled = false;
  for (DWORD index = 0; !disableAll && index < newState->PrivilegeCount; ++index) {
    hasAll = Adjust(*object, newState->Privileges[index]) && hasAll;
  }
  SetLastError(hasAll ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
  return TRUE;
}
