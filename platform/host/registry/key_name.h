// Names of keys and values, and paths of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/base/types.h"
#include "platform/host/registry/database_schema.h"

namespace host::registry {

inline constexpr std::size_t kLongestKeyName = 255;
inline constexpr std::size_t kLongestValueName = 16383;
inline constexpr std::size_t kDeepestPath = 512;  // in steps

// A name as it was written, and the form that names are compared and ordered by.
struct KeyName {
  std::u16string text;
  std::string folded;  // upper-cased, big-endian UTF-16
};

KeyName MakeKeyName(std::u16string_view text);

// The name of a value; null is the empty name. False when it is longer than a value's name can be.
bool MakeValueName(const char16_t* text, KeyName* name);

// The steps of a path. Null and empty paths have none; a trailing or doubled backslash adds none.
// ERROR_BAD_PATHNAME for a leading backslash, ERROR_INVALID_PARAMETER for a step that is too long or one too many.
DWORD SplitPath(const char16_t* path, std::vector<KeyName>* steps);

// Leads a path to the 32-bit side of Software when it starts at HKEY_LOCAL_MACHINE or at Software itself and does not
// name that side already.
void RedirectTo32Bit(KeyId start, std::vector<KeyName>* steps);

}  // namespace host::registry
