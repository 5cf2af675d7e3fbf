#include "platform/host/security/access_list.h"

#include <cstring>

namespace host::security {
namespace {

constexpr DWORD kEntryHeaderSize = offsetof(ACCESS_ALLOWED_ACE, SidStart);

bool HasSid(BYTE type) {
  return type == ACCESS_ALLOWED_ACE_TYPE || type == ACCESS_DENIED_ACE_TYPE;
}

BYTE* BytesOf(const ACL* acl) {
  return reinterpret_cast<BYTE*>(const_cast<ACL*>(acl));
}

// Whether an entry that `readable` bytes are left for is whole.
bool IsWholeEntry(const ACE_HEADER* entry, std::size_t readable) {
  if (readable < sizeof(ACE_HEADER) || entry->AceSize < sizeof(ACE_HEADER) || entry->AceSize % 4 != 0) return false;
  if (entry->AceSize > readable) return false;
  if (!HasSid(entry->AceType)) return true;
  return entry->AceSize >= kEntryHeaderSize &&
         IsSid(reinterpret_cast<const BYTE*>(entry) + kEntryHeaderSize, entry->AceSize - kEntryHeaderSize);
}

// Walks the entries; the offset behind the last one, or 0 when one is not whole.
DWORD EndOfEntries(const ACL* acl) {
  DWORD offset = sizeof(ACL);
  for (WORD index = 0; index < acl->AceCount; ++index) {
    const auto* entry = reinterpret_cast<const ACE_HEADER*>(BytesOf(acl) + offset);
    if (offset > acl->AclSize || !IsWholeEntry(entry, acl->AclSize - offset)) return 0;
    offset += entry->AceSize;
  }
  return offset;
}

}  // namespace

bool IsWellFormed(const ACL* acl) {
  return acl && acl->AclRevision >= ACL_REVISION && acl->AclRevision <= ACL_REVISION_DS &&
         acl->AclSize >= sizeof(ACL) && EndOfEntries(acl) != 0;
}

DWORD UsedBytes(const ACL* acl) {
  return EndOfEntries(acl);
}

ACE_HEADER* EntryAt(const ACL* acl, DWORD index) {
  if (index >= acl->AceCount) return nullptr;
  BYTE* at = BytesOf(acl) + sizeof(ACL);
  for (; index > 0; --index) at += reinterpret_cast<ACE_HEADER*>(at)->AceSize;
  return reinterpret_cast<ACE_HEADER*>(at);
}

std::optional<AccessList> ReadList(const ACL* acl) {
  if (!IsWellFormed(acl)) return std::nullopt;
  AccessList list;
  for (DWORD index = 0; index < acl->AceCount; ++index) {
    const ACE_HEADER* header = EntryAt(acl, index);
    if (!HasSid(header->AceType)) return std::nullopt;
    const auto* entry = reinterpret_cast<const ACCESS_ALLOWED_ACE*>(header);
    list.push_back({header->AceType, header->AceFlags, entry->Mask, SidBytes(&entry->SidStart)});
  }
  return list;
}

Bytes EncodeEntry(const AccessEntry& entry) {
  Bytes bytes(kEntryHeaderSize + entry.sid.size());
  const ACE_HEADER header{entry.type, entry.flags, static_cast<WORD>(bytes.size())};
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + sizeof header, &entry.mask, sizeof entry.mask);
  std::memcpy(bytes.data() + kEntryHeaderSize, entry.sid.data(), entry.sid.size());
  return bytes;
}

Bytes EncodeList(const AccessList& list) {
  Bytes bytes(sizeof(ACL));
  for (const AccessEntry& entry : list) {
    const Bytes encoded = EncodeEntry(entry);
    bytes.insert(bytes.end(), encoded.begin(), encoded.end());
  }
  const ACL header{ACL_REVISION, 0, static_cast<WORD>(bytes.size()), static_cast<WORD>(list.size()), 0};
  std::memcpy(bytes.data(), &header, sizeof header);
  return bytes;
}

}  // namespace host::security
