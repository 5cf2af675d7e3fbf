// Whether a user wants to be told of an event.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Whether the user of `userToken` (TOKEN_QUERY), which stays the caller's, has a registration that the event selects:
// one for every occurrence, or one for this `data1`. Values of every type count. False also when the user cannot be
// read. May throw std::bad_alloc.
bool IsNotifyNeeded(HANDLE userToken, DWORD eventId, DWORD data1);

}  // namespace Quorvex::PC::Hkd04a7
