#include "platform/host/security/sid.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

namespace host::security {
namespace {

const SID* AsSid(const void* sid) {
  return static_cast<const SID*>(sid);
}

DWORD SubAuthority(const void* sid, unsigned index) {
  DWORD value = 0;
  std::memcpy(&value, static_cast<const BYTE*>(sid) + kSidHeaderSize + index * sizeof value, sizeof value);
  return value;
}

std::uint64_t AuthorityNumber(const SID_IDENTIFIER_AUTHORITY& authority) {
  std::uint64_t number = 0;
  for (const BYTE byte : authority.Value) number = number << 8 | byte;
  return number;
}

// Takes a number, decimal or with 0x hexadecimal, and a following '-' off the text.
std::optional<std::uint64_t> TakeNumber(std::string_view* text, std::uint64_t largest) {
  int base = 10;
  if (text->starts_with("0x") || text->starts_with("0X")) {
    base = 16;
    text->remove_prefix(2);
  }
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number, base);
  if (error != std::errc() || number > largest) return std::nullopt;
  text->remove_prefix(static_cast<std::size_t>(end - text->data()));
  if (text->empty()) return number;
  if (text->front() != '-' || text->size() == 1) return std::nullopt;
  text->remove_prefix(1);
  return number;
}

}  // namespace

bool IsSid(const void* data, std::size_t readable) {
  if (!data || readable < kSidHeaderSize) return false;
  const SID* sid = AsSid(data);
  return sid->Revision == SID_REVISION && sid->SubAuthorityCount <= SID_MAX_SUB_AUTHORITIES &&
         SidSize(data) <= readable;
}

DWORD SidSize(const void* sid) {
  return kSidHeaderSize + AsSid(sid)->SubAuthorityCount * DWORD{sizeof(DWORD)};
}

Bytes SidBytes(const void* sid) {
  const auto* bytes = static_cast<const BYTE*>(sid);
  return {bytes, bytes + SidSize(sid)};
}

Bytes MakeSid(const SID_IDENTIFIER_AUTHORITY& authority, const std::vector<DWORD>& subAuthorities) {
  Bytes sid(kSidHeaderSize + subAuthorities.size() * sizeof(DWORD));
  sid[0] = SID_REVISION;
  sid[1] = static_cast<BYTE>(subAuthorities.size());
  std::memcpy(&sid[2], authority.Value, sizeof authority.Value);
  if (!subAuthorities.empty()) {
    std::memcpy(sid.data() + kSidHeaderSize, subAuthorities.data(), subAuthorities.size() * sizeof(DWORD));
  }
  return sid;
}

std::string SidText(const void* sid) {
  const std::uint64_t authority = AuthorityNumber(AsSid(sid)->IdentifierAuthority);
  char number[32];
  std::snprintf(number, sizeof number, authority >> 32 ? "0x%012llX" : "%llu",
                static_cast<unsigned long long>(authority));
  std::string text = std::string("S-1-") + number;
  for (unsigned index = 0; index < AsSid(sid)->SubAuthorityCount; ++index) {
    text += "-" + std::to_string(SubAuthority(sid, index));
  }
  return text;
}

Bytes ParseSid(std::string_view text) {
  if (!text.starts_with("S-1-") && !text.starts_with("s-1-")) return {};
  text.remove_prefix(4);
  const auto authority = TakeNumber(&text, 0xFFFFFFFFFFFFu);
  if (!authority) return {};
  std::vector<DWORD> subAuthorities;
  while (!text.empty()) {
    const auto number = TakeNumber(&text, 0xFFFFFFFFu);
    if (!number || subAuthorities.size() == SID_MAX_SUB_AUTHORITIES) return {};
    subAuthorities.push_back(static_cast<DWORD>(*number));
  }
  if (subAuthorities.empty()) return {};
  SID_IDENTIFIER_AUTHORITY bytes{};
  for (int index = 0; index < 6; ++index) bytes.Value[index] = static_cast<BYTE>(*authority >> (8 * (5 - index)));
  return MakeSid(bytes, subAuthorities);
}

}  // namespace host::security
