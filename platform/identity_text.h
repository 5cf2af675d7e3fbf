// Interface identities, written as they are published.
#pragma once

#include "platform/types.h"

namespace Runtime {

// The GUID of its usual text form, "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx"; any other text does not compile.
consteval GUID IdentityOf(const char (&text)[37]) {
  const auto digit = [&text](unsigned at) -> unsigned {
    const char c = text[at];
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    throw "not a hexadecimal digit";
  };
  const auto number = [&digit](unsigned from, unsigned digits) {
    unsigned value = 0;
    for (unsigned i = 0; i < digits; ++i) value = value * 16 + digit(from + i);
    return value;
  };
  if (text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') throw "a hyphen is missing";
  GUID identity{
      number(0, 8), static_cast<unsigned short>(number(9, 4)), static_cast<unsigned short>(number(14, 4)), {}};
  for (unsigned i = 0; i < 8; ++i) {
    identity.Data4[i] = static_cast<unsigned char>(number(i < 2 ? 19 + 2 * i : 20 + 2 * i, 2));
  }
  return identity;
}

}  // namespace Runtime
