#include "platform/host/base/json_text.h"

#include <array>
#include <cstdio>

namespace host {
namespace {

void AppendEscaped(std::string& out, char c) {
  if (c == '"' || c == '\\') {
    out += '\\';
    out += c;
  } else if (static_cast<unsigned char>(c) < 0x20) {
    std::array<char, 8> code{};
    std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(c));
    out += code.data();
  } else {
    out += c;
  }
}

}  // namespace

std::string JsonText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) AppendEscaped(quoted, c);
  return quoted += '"';
}

}  // namespace host
