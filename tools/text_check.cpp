#include "tools/text_check.h"

#include "platform/host/base/text.h"

namespace tool {

std::string TextError(const std::string& text) {
  return host::ToUtf8(host::ToUtf16(text)) == text ? std::string() : "not UTF-8: \"" + text + '"';
}

}  // namespace tool
