#include "platform/host/security/descriptor.h"

#include <cstring>

namespace host::security {
namespace {

const void* At(const void* descriptor, DWORD offset) {
  return offset == 0 ? nullptr : static_cast<const BYTE*>(descriptor) + offset;
}

DescriptorParts PartsOf(const void* descriptor) {
  const auto* absolute = static_cast<const SECURITY_DESCRIPTOR*>(descriptor);
  if (!(absolute->Control & SE_SELF_RELATIVE)) {
    return {absolute->Control, absolute->Owner, absolute->Group, absolute->Sacl, absolute->Dacl};
  }
  const auto* relative = static_cast<const SECURITY_DESCRIPTOR_RELATIVE*>(descriptor);
  return {relative->Control, At(descriptor, relative->Owner), At(descriptor, relative->Group),
          static_cast<const ACL*>(At(descriptor, relative->Sacl)),
          static_cast<const ACL*>(At(descriptor, relative->Dacl))};
}

// Appends a part and gives its offset; 0 for a missing one.
DWORD Append(Bytes* block, const void* part, std::size_t size) {
  if (!part) return 0;
  const auto offset = static_cast<DWORD>(block->size());
  const auto* bytes = static_cast<const BYTE*>(part);
  block->insert(block->end(), bytes, bytes + size);
  block->resize((block->size() + 3) & ~std::size_t{3});
  return offset;
}

bool IsSidOrAbsent(const void* sid) {
  return !sid || IsSid(sid, SECURITY_MAX_SID_SIZE);
}

}  // namespace

bool ReadParts(const void* descriptor, DescriptorParts* parts) {
  if (!descriptor || *static_cast<const BYTE*>(descriptor) != SECURITY_DESCRIPTOR_REVISION) return false;
  *parts = PartsOf(descriptor);
  if (!(parts->control & SE_DACL_PRESENT)) parts->dacl = nullptr;
  if (!(parts->control & SE_SACL_PRESENT)) parts->sacl = nullptr;
  return IsSidOrAbsent(parts->owner) && IsSidOrAbsent(parts->group) && (!parts->sacl || IsWellFormed(parts->sacl)) &&
         (!parts->dacl || IsWellFormed(parts->dacl));
}

Bytes EncodeSelfRelative(const DescriptorParts& parts) {
  Bytes block(sizeof(SECURITY_DESCRIPTOR_RELATIVE));
  SECURITY_DESCRIPTOR_RELATIVE header{};
  header.Revision = SECURITY_DESCRIPTOR_REVISION;
  header.Control = parts.control | SE_SELF_RELATIVE;
  header.Owner = Append(&block, parts.owner, parts.owner ? SidSize(parts.owner) : 0);
  header.Group = Append(&block, parts.group, parts.group ? SidSize(parts.group) : 0);
  header.Sacl = Append(&block, parts.sacl, parts.sacl ? parts.sacl->AclSize : 0);
  header.Dacl = Append(&block, parts.dacl, parts.dacl ? parts.dacl->AclSize : 0);
  std::memcpy(block.data(), &header, sizeof header);
  return block;
}

}  // namespace host::security
