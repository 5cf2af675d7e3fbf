// Text from elsewhere (the registry, other users' programs) on a terminal.
#pragma once

#include <string>

namespace tool {

// `text` on one line: control characters, which could move the cursor or pass for further lines, as \n, \t or \xNN.
std::string Printable(const std::string& text);

}  // namespace tool
