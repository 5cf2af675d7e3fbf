// Where a user's app-service registrations lie in the registry.
#pragma once

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Which occurrences of an event the registrations of a key are for.
enum class RegistrationScope {
  kEveryOccurrence,  // the event-only key
  kOneData1,         // the key of the event and one value of its first data word
};

// The path below the root of a user's hive. `data1` counts with kOneData1 only.
WideString FormatAppServiceKeyPath(DWORD eventId, RegistrationScope scope, DWORD data1);

// The path below HKEY_USERS for the user with the SID string `sid`.
WideString FormatUserAppServiceKeyPath(const WideString& sid, DWORD eventId, RegistrationScope scope, DWORD data1);

}  // namespace Quorvex::PC::Hkd04a7
