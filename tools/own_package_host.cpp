#include "platform/host/base/text.h"
#include "platform/host/identity/process_token.h"
#include "tools/software_key.h"

namespace tool {

WideString OwnPackage() {
  return host::ToUtf16(host::OwnToken().packageFamilyName);
}

}  // namespace tool
