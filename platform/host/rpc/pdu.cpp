#include "platform/host/rpc/pdu.h"

#include <cstring>

namespace host::rpc {

namespace {

// 6CB71C2C-9812-4540, the first half of the UUID; the features follow in the second, low byte first.
constexpr UUID kFeaturePrefix = {0x6CB71C2C, 0x9812, 0x4540, {}};

}  // namespace

const SyntaxId kNdrSyntax = {{0x8A885D04, 0x1CEB, 0x11C9, {0x9F, 0xE8, 0x08, 0x00, 0x2B, 0x10, 0x48, 0x60}}, 2, 0};
const SyntaxId kNdr64Syntax = {{0x71710533, 0xBEBA, 0x4937, {0x83, 0x19, 0xB5, 0xDB, 0xEF, 0x9C, 0xCC, 0x36}}, 1, 0};

bool operator==(const SyntaxId& left, const SyntaxId& right) {
  return std::memcmp(&left.uuid, &right.uuid, sizeof(UUID)) == 0 && left.majorVersion == right.majorVersion &&
         left.minorVersion == right.minorVersion;
}

SyntaxId FeatureSyntax(std::uint16_t features) {
  SyntaxId syntax{kFeaturePrefix, 1, 0};
  syntax.uuid.Data4[0] = static_cast<std::uint8_t>(features);
  syntax.uuid.Data4[1] = static_cast<std::uint8_t>(features >> 8);
  return syntax;
}

std::optional<std::uint16_t> FeaturesOf(const SyntaxId& syntax) {
  constexpr std::size_t kPrefixSize = 8;
  if (std::memcmp(&syntax.uuid, &kFeaturePrefix, kPrefixSize) != 0 || syntax.majorVersion != 1) return std::nullopt;
  return static_cast<std::uint16_t>(syntax.uuid.Data4[0] | syntax.uuid.Data4[1] << 8);
}

}  // namespace host::rpc
