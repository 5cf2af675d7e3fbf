#include "platform/host/rpc/uuid_text.h"

#include <cstdio>

namespace host::rpc {

std::string UuidText(const UUID& uuid) {
  constexpr std::size_t kLength = 36;
  std::string text(kLength, '\0');
  const auto& last = uuid.Data4;
  std::snprintf(text.data(), kLength + 1, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", uuid.Data1, uuid.Data2,
                uuid.Data3, last[0], last[1], last[2], last[3], last[4], last[5], last[6], last[7]);
  return text;
}

}  // namespace host::rpc
