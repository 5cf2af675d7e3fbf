// The calls about security descriptors.
#include <cstring>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/security/descriptor.h"
#include "platform/host/security/security.h"

using host::FailWith;
using namespace host::security;  // NOLINT: the flat calls are thin forms of these functions

namespace {

SECURITY_DESCRIPTOR* AsAbsolute(PSECURITY_DESCRIPTOR descriptor) {
  return static_cast<SECURITY_DESCRIPTOR*>(descriptor);
}

// One part on its way out of a self-relative descriptor.
struct PartCopy {
  const void* part;
  DWORD needed;
  void* target;
  LPDWORD size;
};

DWORD SizeOfSid(const void* sid) {
  return sid ? SidSize(sid) : 0;
}
DWORD SizeOfAcl(const ACL* acl) {
  return acl ? acl->AclSize : 0;
}

// The target when there was something to copy into it.
void* CopyPart(const PartCopy& copy) {
  if (!copy.part) return nullptr;
  return std::memcpy(copy.target, copy.part, copy.needed);
}

}  // namespace

BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) {
  if (const auto injected = host::InjectedFailure("InitializeSecurityDescriptor")) return FailWith(*injected);
  if (!descriptor) return FailWith(ERROR_INVALID_PARAMETER);
  if (revision != SECURITY_DESCRIPTOR_REVISION) return FailWith(ERROR_UNKNOWN_REVISION);
  *AsAbsolute(descriptor) = {SECURITY_DESCRIPTOR_REVISION, 0, 0, nullptr, nullptr, nullptr, nullptr};
  return TRUE;
}

BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor) {
  DescriptorParts parts;
  return ReadParts(descriptor, &parts);
}

BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted) {
  if (const auto injected = host::InjectedFailure("SetSecurityDescriptorDacl")) return FailWith(*injected);
  if (!descriptor) return FailWith(ERROR_INVALID_PARAMETER);
  SECURITY_DESCRIPTOR* absolute = AsAbsolute(descriptor);
  if (absolute->Revision != SECURITY_DESCRIPTOR_REVISION) return FailWith(ERROR_UNKNOWN_REVISION);
  if (absolute->Control & SE_SELF_RELATIVE) return FailWith(ERROR_INVALID_SECURITY_DESCR);
  constexpr unsigned kDaclBits = SE_DACL_PRESENT | SE_DACL_DEFAULTED;
  const unsigned bits = (present ? SE_DACL_PRESENT : 0u) | (present && defaulted ? SE_DACL_DEFAULTED : 0u);
  absolute->Control = static_cast<SECURITY_DESCRIPTOR_CONTROL>((absolute->Control & ~kDaclBits) | bits);
  absolute->Dacl = present ? dacl : nullptr;
  return TRUE;
}

BOOL GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl, LPBOOL defaulted) {
  if (const auto injected = host::InjectedFailure("GetSecurityDescriptorDacl")) return FailWith(*injected);
  if (!present || !dacl || !defaulted) return FailWith(ERROR_INVALID_PARAMETER);
  DescriptorParts parts;
  if (!ReadParts(descriptor, &parts)) return FailWith(ERROR_INVALID_SECURITY_DESCR);
  *present = (parts.control & SE_DACL_PRESENT) != 0;
  if (!*present) return TRUE;
  *dacl = const_cast<PACL>(parts.dacl);
  *defaulted = (parts.control & SE_DACL_DEFAULTED) != 0;
  return TRUE;
}

BOOL MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR relative, LPDWORD size) {
  if (const auto injected = host::InjectedFailure("MakeSelfRelativeSD")) return FailWith(*injected);
  if (!size) return FailWith(ERROR_INVALID_PARAMETER);
  DescriptorParts parts;
  if (!ReadParts(absolute, &parts)) return FailWith(ERROR_INVALID_SECURITY_DESCR);
  if (parts.control & SE_SELF_RELATIVE) return FailWith(ERROR_BAD_DESCRIPTOR_FORMAT);
  const Bytes block = EncodeSelfRelative(parts);
  const DWORD capacity = relative ? *size : 0;
  *size = static_cast<DWORD>(block.size());
  if (capacity < block.size()) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  std::memcpy(relative, block.data(), block.size());
  return TRUE;
}

BOOL MakeAbsoluteSD(PSECURITY_DESCRIPTOR relative, PSECURITY_DESCRIPTOR absolute, LPDWORD absoluteSize, PACL dacl,
                    LPDWORD daclSize, PACL sacl, LPDWORD saclSize, PSID owner, LPDWORD ownerSize, PSID group,
                    LPDWORD groupSize) {
  if (const auto injected = host::InjectedFailure("MakeAbsoluteSD")) return FailWith(*injected);
  if (!absoluteSize || !daclSize || !saclSize || !ownerSize || !groupSize) return FailWith(ERROR_INVALID_PARAMETER);
  DescriptorParts parts;
  if (!ReadParts(relative, &parts)) return FailWith(ERROR_INVALID_SECURITY_DESCR);
  if (!(parts.control & SE_SELF_RELATIVE)) return FailWith(ERROR_BAD_DESCRIPTOR_FORMAT);
  const PartCopy copies[] = {{relative, sizeof(SECURITY_DESCRIPTOR), absolute, absoluteSize},
                             {parts.dacl, SizeOfAcl(parts.dacl), dacl, daclSize},
                             {parts.sacl, SizeOfAcl(parts.sacl), sacl, saclSize},
                             {parts.owner, SizeOfSid(parts.owner), owner, ownerSize},
                             {parts.group, SizeOfSid(parts.group), group, groupSize}};
  bool fits = true;
  for (const PartCopy& copy : copies) {
    fits = fits && (copy.needed == 0 || (copy.target && *copy.size >= copy.needed));
    *copy.size = copy.needed;
  }
  if (!fits) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  const auto control = static_cast<SECURITY_DESCRIPTOR_CONTROL>(parts.control & ~SE_SELF_RELATIVE);
  *AsAbsolute(absolute) = {SECURITY_DESCRIPTOR_REVISION,
                           0,
                           control,
                           CopyPart(copies[3]),
                           CopyPart(copies[4]),
                           static_cast<PACL>(CopyPart(copies[2])),
                           static_cast<PACL>(CopyPart(copies[1]))};
  return TRUE;
}
