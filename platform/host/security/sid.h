// SIDs as values: their bytes, and their text form. Pure functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/security/security_types.h"

namespace host::security {

using Bytes = std::vector<BYTE>;

inline constexpr DWORD kSidHeaderSize = 8;

// Whether a SID of that many readable bytes begins at `data`.
bool IsSid(const void* data, std::size_t readable);

// Size in bytes of a valid SID.
DWORD SidSize(const void* sid);

// A copy of a valid SID's bytes.
Bytes SidBytes(const void* sid);

// A SID of at most 15 sub-authorities.
Bytes MakeSid(const SID_IDENTIFIER_AUTHORITY& authority, const std::vector<DWORD>& subAuthorities);

// "S-1-5-18". The authority is decimal below 2^32, hexadecimal above.
std::string SidText(const void* sid);

// Reads "S-1-..." (not the two-letter names of SDDL); empty when the text is no SID.
Bytes ParseSid(std::string_view text);

}  // namespace host::security
