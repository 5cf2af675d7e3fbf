// Registry paths and values as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"

namespace tool {

struct RegistryPath {
  HKEY root;
  WideString subKey;  // may be empty
};

// "HKLM\Software\..." with HKLM, HKCU or HKU, or their long names, in any case. Slashes do as backslashes where there
// are none of these; else they are part of a name. Nothing for any other root, and for a text with a zero inside.
std::optional<RegistryPath> ParseRegistryPath(std::string_view text);

struct RegistryValue {
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
  bool operator==(const RegistryValue&) const = default;
};

// The type's name: sz, expand, multi, dword, qword, binary, none; other types are their number.
std::string TypeName(DWORD type);
std::optional<DWORD> ParseType(std::string_view name);

// The value as one piece of text: numbers as 0x..., binary as hexadecimal digits. `words` has one element except for
// multi (one for each string, possibly none). Nothing when the text does not fit the type.
std::optional<RegistryValue> ParseValue(DWORD type, const std::vector<std::string>& words);

// The reverse. A value whose data does not fit its type (a dword of 3 bytes, text without its end) comes as "hex:..."
// in one word, which ParseValue understands for every type, so that nothing is lost on the way out and back.
std::vector<std::string> ValueWords(const RegistryValue& value);

}  // namespace tool
