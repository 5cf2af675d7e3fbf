// Security descriptors in both forms. Pure functions.
#pragma once

#include "platform/host/security/access_list.h"

namespace host::security {

// The four parts of a descriptor, in place, whichever form it has; null where there is none.
struct DescriptorParts {
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  const void* owner = nullptr;
  const void* group = nullptr;
  const ACL* sacl = nullptr;
  const ACL* dacl = nullptr;
};

// False when the descriptor, or a part of it, is malformed. A self-relative one is trusted to lie in memory as far as
// its offsets reach, as the platform trusts it.
bool ReadParts(const void* descriptor, DescriptorParts* parts);

// One block with the parts in the order owner, group, SACL, DACL.
Bytes EncodeSelfRelative(const DescriptorParts& parts);

}  // namespace host::security
