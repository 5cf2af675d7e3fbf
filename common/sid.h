// One security identifier, held by value.
#pragma once

#include "platform/security.h"
#include "platform/types.h"

namespace Quorvex::PC::Common {

// Without a SID at first. An object belongs to one thread at a time.
class CSid {
 public:
  // Holds a copy of `sid`. False with last error 1337 (ERROR_INVALID_SID) when it is none: the object then stays as it
  // was.
  bool Assign(PSID sid);

  // The SID held, which lives as long as the object; not a valid SID while none is held.
  PSID Get() const { return const_cast<BYTE*>(bytes_); }

  // Its string form ("S-1-5-18"), made when it is first asked for; empty when it cannot be made.
  const WideString& Sid();

 private:
  alignas(DWORD) BYTE bytes_[SECURITY_MAX_SID_SIZE] = {};
  WideString text_;
};

}  // namespace Quorvex::PC::Common
