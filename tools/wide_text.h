// The command line's text and the platform's.
#pragma once

#include <string>

#include "platform/types.h"

namespace tool {

// Text as the program was given it: UTF-8 on the host, the code page of the system on Windows.
WideString ToWide(const std::string& text);
std::string ToNarrow(const WideString& text);

}  // namespace tool
