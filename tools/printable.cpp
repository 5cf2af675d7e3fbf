#include "tools/printable.h"

#include <cstdio>

namespace tool {

std::string Printable(const std::string& text) {
  std::string shown;
  for (const char unit : text) {
    char escaped[8];
    if (unit == '\n')
      shown += "\\n";
    else if (unit == '\t')
      shown += "\\t";
    else if (static_cast<unsigned char>(unit) < 0x20 || unit == 0x7F)
      shown.append(escaped, std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned char>(unit)));
    else
      shown += unit;
  }
  return shown;
}

}  // namespace tool
