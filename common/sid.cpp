#include "common/sid.h"

#include "common/handles.h"
#include "platform/errors.h"

namespace Quorvex::PC::Common {

bool CSid::Assign(PSID sid) {
  if (!IsValidSid(sid)) {
    SetLastError(ERROR_INVALID_SID);
    return false;
  }
  if (!CopySid(sizeof(bytes_), bytes_, sid)) return false;
  text_.clear();
  return true;
}

const WideString& CSid::Sid() {
  if (!text_.empty()) return text_;
  UniqueSidText text;
  if (ConvertSidToStringSidW(Get(), text.Receive())) text_ = text.Get();
  return text_;
}

}  // namespace Quorvex::PC::Common
