// Access-control lists as values, and the check that a list in memory is well formed. Pure functions.
#pragma once

#include <optional>
#include <vector>

#include "platform/host/security/sid.h"

namespace host::security {

// One allowing or denying entry.
struct AccessEntry {
  BYTE type = ACCESS_ALLOWED_ACE_TYPE;
  BYTE flags = 0;
  ACCESS_MASK mask = 0;
  Bytes sid;
};
using AccessList = std::vector<AccessEntry>;

// Whether header, entries and the SIDs of allowing and denying entries lie within the list's own size.
bool IsWellFormed(const ACL* acl);

// Bytes that the list's header and entries take up, of a well-formed list.
DWORD UsedBytes(const ACL* acl);

// The entry at `index`, in place; null past the last. Of a well-formed list.
ACE_HEADER* EntryAt(const ACL* acl, DWORD index);

// Lists as values and back. None when the list is malformed or has entries of other types than allowing and denying.
std::optional<AccessList> ReadList(const ACL* acl);
Bytes EncodeEntry(const AccessEntry& entry);
Bytes EncodeList(const AccessList& list);

}  // namespace host::security
