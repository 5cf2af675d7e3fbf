// The calls about SIDs.
#include <cstring>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/text.h"
#include "platform/host/security/local_copy.h"
#include "platform/host/security/security.h"
#include "platform/host/security/sid.h"

using host::FailWith;
using namespace host::security;  // NOLINT: the flat calls are thin forms of these functions

BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD sub0, DWORD sub1, DWORD sub2,
                              DWORD sub3, DWORD sub4, DWORD sub5, DWORD sub6, DWORD sub7, PSID* sid) {
  if (const auto injected = host::InjectedFailure("AllocateAndInitializeSid")) return FailWith(*injected);
  if (!authority || !sid) return FailWith(ERROR_INVALID_PARAMETER);
  if (count > 8) return FailWith(ERROR_INVALID_SID);
  std::vector<DWORD> subAuthorities{sub0, sub1, sub2, sub3, sub4, sub5, sub6, sub7};
  subAuthorities.resize(count);
  *sid = LocalCopy(MakeSid(*authority, subAuthorities));
  return *sid != nullptr;
}

PVOID FreeSid(PSID sid) {
  LocalFree(sid);
  return nullptr;
}

BOOL IsValidSid(PSID sid) {
  return IsSid(sid, SECURITY_MAX_SID_SIZE);
}

BOOL EqualSid(PSID left, PSID right) {
  if (!IsValidSid(left) || !IsValidSid(right)) return FailWith(ERROR_INVALID_SID);
  return SidBytes(left) == SidBytes(right);
}

DWORD GetLengthSid(PSID sid) {
  return SidSize(sid);
}

BOOL CopySid(DWORD capacity, PSID target, PSID sid) {
  if (const auto injected = host::InjectedFailure("CopySid")) return FailWith(*injected);
  if (!IsValidSid(sid)) return FailWith(ERROR_INVALID_SID);
  if (capacity < SidSize(sid)) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  std::memcpy(target, sid, SidSize(sid));
  return TRUE;
}

BOOL ConvertSidToStringSidW(PSID sid, LPWSTR* text) {
  if (const auto injected = host::InjectedFailure("ConvertSidToStringSidW")) return FailWith(*injected);
  if (!text) return FailWith(ERROR_INVALID_PARAMETER);
  if (!IsValidSid(sid)) return FailWith(ERROR_INVALID_SID);
  *text = LocalCopy(host::ToUtf16(SidText(sid)));
  return *text != nullptr;
}

BOOL ConvertStringSidToSidW(LPCWSTR text, PSID* sid) {
  if (const auto injected = host::InjectedFailure("ConvertStringSidToSidW")) return FailWith(*injected);
  if (!text || !sid) return FailWith(ERROR_INVALID_PARAMETER);
  const Bytes bytes = ParseSid(host::ToUtf8(text));
  if (bytes.empty()) return FailWith(ERROR_INVALID_SID);
  *sid = LocalCopy(bytes);
  return *sid != nullptr;
}
