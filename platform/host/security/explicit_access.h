// Composing an access list out of explicit entries. Pure.
#pragma once

#include "platform/host/security/access_list.h"

namespace host::security {

// Applies one entry for `sid` to the list, by the rules told at SetEntriesInAclW.
void ApplyEntry(AccessList* list, ACCESS_MODE mode, ACCESS_MASK mask, BYTE inheritance, const Bytes& sid);

}  // namespace host::security
