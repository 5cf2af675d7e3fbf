// UTF-16 to UTF-8 and back. Ill-formed input becomes U+FFFD, one for each ill-formed unit; nothing is lost silently.
#pragma once

#include <string>
#include <string_view>

namespace host {

std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view text);

// Upper-casing as names of the registry and of modules use it: single UTF-16 units (Latin, Greek, Cyrillic), no
// locale; and comparison of what it gives: negative, 0 or positive.
char16_t ToUpper(char16_t unit);
std::u16string ToUpper(std::u16string_view text);
int CompareNoCase(std::u16string_view left, std::u16string_view right);

}  // namespace host
