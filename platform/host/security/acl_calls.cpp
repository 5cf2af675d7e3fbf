// The calls about access-control lists.
#include <algorithm>
#include <cstring>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/security/access_list.h"
#include "platform/host/security/explicit_access.h"
#include "platform/host/security/local_copy.h"
#include "platform/host/security/security.h"

using host::FailWith;
using namespace host::security;  // NOLINT: the flat calls are thin forms of these functions

namespace {

// Counts the entries that `aces` holds end to end; -1 when they do not fill `size` bytes exactly.
int CountEntries(const BYTE* aces, DWORD size) {
  int count = 0;
  for (DWORD offset = 0; offset < size; ++count) {
    ACE_HEADER header;
    if (size - offset < sizeof header) return -1;
    std::memcpy(&header, aces + offset, sizeof header);
    if (header.AceSize < sizeof header || header.AceSize > size - offset) return -1;
    offset += header.AceSize;
  }
  return count;
}

// The checks of one explicit entry: a Win32 code.
DWORD CheckExplicitEntry(const EXPLICIT_ACCESS_W& entry) {
  if (entry.Trustee.pMultipleTrustee) host::Unsupported("SetEntriesInAclW", "Trustee.pMultipleTrustee");
  if (entry.Trustee.TrusteeForm != TRUSTEE_IS_SID) host::Unsupported("SetEntriesInAclW", "Trustee.TrusteeForm");
  if (entry.grfAccessMode == SET_AUDIT_SUCCESS || entry.grfAccessMode == SET_AUDIT_FAILURE) {
    host::Unsupported("SetEntriesInAclW", "grfAccessMode");
  }
  if (entry.grfAccessMode < GRANT_ACCESS || entry.grfAccessMode > REVOKE_ACCESS) return ERROR_INVALID_PARAMETER;
  return IsSid(entry.Trustee.ptstrName, SECURITY_MAX_SID_SIZE) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

}  // namespace

BOOL InitializeAcl(PACL acl, DWORD size, DWORD revision) {
  if (const auto injected = host::InjectedFailure("InitializeAcl")) return FailWith(*injected);
  if (!acl || revision < ACL_REVISION || revision > ACL_REVISION_DS) return FailWith(ERROR_INVALID_PARAMETER);
  if (size < sizeof(ACL)) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  if (size > 0xFFFF || size % 4 != 0) return FailWith(ERROR_INVALID_PARAMETER);
  *acl = {static_cast<BYTE>(revision), 0, static_cast<WORD>(size), 0, 0};
  return TRUE;
}

BOOL AddAce(PACL acl, DWORD revision, DWORD index, LPVOID aces, DWORD size) {
  if (const auto injected = host::InjectedFailure("AddAce")) return FailWith(*injected);
  if (!IsWellFormed(acl)) return FailWith(ERROR_INVALID_ACL);
  const int count = aces ? CountEntries(static_cast<const BYTE*>(aces), size) : -1;
  if (count < 0 || revision < ACL_REVISION || revision > ACL_REVISION_DS) return FailWith(ERROR_INVALID_PARAMETER);
  const DWORD used = UsedBytes(acl);
  if (size > acl->AclSize - used) return FailWith(ERROR_ALLOTTED_SPACE_EXCEEDED);
  BYTE* end = reinterpret_cast<BYTE*>(acl) + used;
  BYTE* place = index < acl->AceCount ? reinterpret_cast<BYTE*>(EntryAt(acl, index)) : end;
  std::memmove(place + size, place, static_cast<std::size_t>(end - place));
  std::memcpy(place, aces, size);
  acl->AceCount = static_cast<WORD>(acl->AceCount + count);
  acl->AclRevision = std::max(acl->AclRevision, static_cast<BYTE>(revision));
  return TRUE;
}

BOOL AddAccessAllowedAce(PACL acl, DWORD revision, DWORD mask, PSID sid) {
  if (const auto injected = host::InjectedFailure("AddAccessAllowedAce")) return FailWith(*injected);
  if (!IsValidSid(sid)) return FailWith(ERROR_INVALID_SID);
  Bytes entry = EncodeEntry({ACCESS_ALLOWED_ACE_TYPE, 0, mask, SidBytes(sid)});
  return AddAce(acl, revision, MAXDWORD, entry.data(), static_cast<DWORD>(entry.size()));
}

BOOL GetAce(PACL acl, DWORD index, LPVOID* ace) {
  if (const auto injected = host::InjectedFailure("GetAce")) return FailWith(*injected);
  if (!ace || !IsWellFormed(acl)) return FailWith(ERROR_INVALID_PARAMETER);
  ACE_HEADER* entry = EntryAt(acl, index);
  if (!entry) return FailWith(ERROR_INVALID_PARAMETER);
  *ace = entry;
  return TRUE;
}

BOOL GetAclInformation(PACL acl, LPVOID information, DWORD size, ACL_INFORMATION_CLASS kind) {
  if (const auto injected = host::InjectedFailure("GetAclInformation")) return FailWith(*injected);
  if (kind != AclSizeInformation) host::Unsupported("GetAclInformation", "kind");
  if (!IsWellFormed(acl)) return FailWith(ERROR_INVALID_ACL);
  if (!information) return FailWith(ERROR_INVALID_PARAMETER);
  if (size < sizeof(ACL_SIZE_INFORMATION)) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  const DWORD used = UsedBytes(acl);
  *static_cast<ACL_SIZE_INFORMATION*>(information) = {acl->AceCount, used, acl->AclSize - used};
  return TRUE;
}

DWORD SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL oldAcl, PACL* newAcl) {
  if (const auto injected = host::InjectedFailure("SetEntriesInAclW")) return *injected;
  if (!newAcl || (count != 0 && !entries)) return ERROR_INVALID_PARAMETER;
  if (oldAcl) host::Unsupported("SetEntriesInAclW", "oldAcl");
  AccessList list;
  for (ULONG index = 0; index < count; ++index) {
    const EXPLICIT_ACCESS_W& entry = entries[index];
    const DWORD code = CheckExplicitEntry(entry);
    if (code != ERROR_SUCCESS) return code;
    ApplyEntry(&list, entry.grfAccessMode, entry.grfAccessPermissions, static_cast<BYTE>(entry.grfInheritance),
               SidBytes(entry.Trustee.ptstrName));
  }
  *newAcl = static_cast<PACL>(LocalCopy(EncodeList(list)));
  return *newAcl ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}
