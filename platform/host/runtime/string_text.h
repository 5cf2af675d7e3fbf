// A runtime string's text.
#pragma once

#include <string_view>

#include "platform/runtime.h"

namespace host::runtime {

// As long as the string lives.
inline std::u16string_view TextOf(HSTRING string) {
  UINT32 length = 0;
  const PCWSTR text = WindowsGetStringRawBuffer(string, &length);
  return {text, length};
}

}  // namespace host::runtime
