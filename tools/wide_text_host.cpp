#include "platform/host/base/text.h"
#include "tools/wide_text.h"

namespace tool {

WideString ToWide(const std::string& text) {
  return host::ToUtf16(text);
}

std::string ToNarrow(const WideString& text) {
  return host::ToUtf8(text);
}

}  // namespace tool
