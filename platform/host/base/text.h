// UTF-16 to UTF-8 and back. Ill-formed input becomes U+FFFD, one for each ill-formed unit; nothing is lost silently.
#pragma once

#include <string>
#include <string_view>

namespace host {

std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view text);

// Case-insensitive comparison as names of the registry, modules and named objects use it: simple upper-casing of
// single UTF-16 units (Latin, Greek, Cyrillic), no locale. Negative, 0 or positive.
int CompareNoCase(std::u16string_view left, std::u16string_view right);

}  // namespace host
