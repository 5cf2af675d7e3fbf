#include "tests/rpc/hex.h"

#include <cctype>
#include <cstdio>

namespace {

unsigned Digit(char character) {
  return static_cast<unsigned>(std::isdigit(character) != 0 ? character - '0' : character - 'a' + 10);
}

}  // namespace

std::vector<std::byte> FromHex(std::string_view text) {
  std::string digits;
  for (const char character : text) {
    if (std::isxdigit(character) != 0) digits += character;
  }
  std::vector<std::byte> bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::byte>(Digit(digits[i]) << 4 | Digit(digits[i + 1])));
  }
  return bytes;
}

std::string ToHex(std::span<const std::byte> bytes) {
  std::string text;
  for (const std::byte byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof(digits), "%02x ", static_cast<unsigned>(byte));
    text += digits;
  }
  return text;
}
