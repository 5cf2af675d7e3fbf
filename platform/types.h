// Basic types of the platform, and how this code spells its text.
//
// Text is UTF-16 in both builds: WCHAR is wchar_t on Windows and char16_t on the host. Literals are
// written W("..."). Nothing here calls into the C library's wide-character functions.
#pragma once

#include <string>
#include <string_view>

#ifdef _WIN32
#include "platform/windows/sdk.h"
#define HKD_WIDE_LITERAL(text) L##text
#else
#include "platform/host/base/types.h"
#define HKD_WIDE_LITERAL(text) u##text
#endif

// A wide string literal in the platform's own code unit.
#define W(text) HKD_WIDE_LITERAL(text)

using WideString = std::basic_string<WCHAR>;
using WideStringView = std::basic_string_view<WCHAR>;
