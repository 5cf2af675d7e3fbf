#include "tools/grant_text.h"

#include <cstring>

namespace tool {
namespace {

constexpr DWORD kRunAsSystemBit = 1;

std::string Absent(const RegistryValue& value, const char* wanted) {
  std::string text = TypeName(value.type);
  for (const std::string& word : ValueWords(value)) text += " " + word;
  return text + ", counts as absent: not a " + wanted;
}

}  // namespace

std::string GrantText(const RegistryValue& value) {
  DWORD bits = 0;
  if (value.type != REG_DWORD || value.data.size() != sizeof bits) return Absent(value, "dword");
  std::memcpy(&bits, value.data.data(), sizeof bits);
  const bool may = (bits & kRunAsSystemBit) != 0;
  return ValueWords(value)[0] + (may ? ", may run commands as system" : ", grants nothing: bit 0 is clear");
}

std::string CommandText(const RegistryValue& value) {
  if (value.type != REG_MULTI_SZ) return Absent(value, "multi");
  const std::vector<std::string> words = ValueWords(value);
  if (words.empty()) return "counts as absent: names no program";
  return words[0] + (words.size() > 1 ? " " + words[1] : "");
}

}  // namespace tool
