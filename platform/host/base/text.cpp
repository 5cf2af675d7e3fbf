#include "platform/host/base/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace host {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& out, char32_t point) {
  if (point < 0x80) {
    out += static_cast<char>(point);
    return;
  }
  const int more = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  constexpr std::array<unsigned, 4> kLead{0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLead[more] | (point >> (6 * more)));
  for (int i = more - 1; i >= 0; --i) out += static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F));
}

void AppendUtf16(std::u16string& out, char32_t point) {
  if (point < 0x10000) {
    out += static_cast<char16_t>(point);
    return;
  }
  out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
  out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
}

// The length a sequence claims by its first byte; 0 for a byte that begins none.
std::size_t SequenceLength(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

bool IsTooSmallOrReserved(char32_t point, std::size_t length) {
  constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  return point < kSmallest[length] || point > 0x10FFFF || IsHighSurrogate(point) || IsLowSurrogate(point);
}

// Decodes the sequence at the head of `text`, which is cut off; one byte and U+FFFD if it is ill-formed.
char32_t TakeUtf8(std::string_view& text) {
  const auto lead = static_cast<std::uint8_t>(text[0]);
  const std::size_t length = SequenceLength(lead);
  char32_t point = length <= 1 ? lead : lead & (0x7Fu >> length);
  bool good = length != 0 && length <= text.size();
  for (std::size_t i = 1; good && i < length; ++i) {
    const auto byte = static_cast<std::uint8_t>(text[i]);
    good = (byte & 0xC0) == 0x80;
    point = (point << 6) | (byte & 0x3Fu);
  }
  good = good && !IsTooSmallOrReserved(point, length);
  text.remove_prefix(good ? length : 1);
  return good ? point : kReplacement;
}

// How the lower-case letters of one range become upper case.
enum class Shift : std::uint8_t { Fixed, EvenIsUpper, OddIsUpper };
struct CaseRange {
  char16_t first, last;
  Shift shift;
  std::int16_t distance;
};

// Sorted. Pairs in "EvenIsUpper" ranges lie side by side, capital first, on an even unit; "OddIsUpper" on an odd one.
constexpr CaseRange kCaseRanges[] = {
    {0x61, 0x7A, Shift::Fixed, -32},         {0xE0, 0xF6, Shift::Fixed, -32},
    {0xF8, 0xFE, Shift::Fixed, -32},         {0xFF, 0xFF, Shift::Fixed, 121},
    {0x100, 0x12F, Shift::EvenIsUpper, 0},   {0x132, 0x137, Shift::EvenIsUpper, 0},
    {0x139, 0x148, Shift::OddIsUpper, 0},    {0x14A, 0x177, Shift::EvenIsUpper, 0},
    {0x179, 0x17E, Shift::OddIsUpper, 0},    {0x3AC, 0x3AC, Shift::Fixed, -38},
    {0x3AD, 0x3AF, Shift::Fixed, -37},       {0x3B1, 0x3C1, Shift::Fixed, -32},
    {0x3C2, 0x3C2, Shift::Fixed, -31},       {0x3C3, 0x3CB, Shift::Fixed, -32},
    {0x3CC, 0x3CC, Shift::Fixed, -64},       {0x3CD, 0x3CE, Shift::Fixed, -63},
    {0x430, 0x44F, Shift::Fixed, -32},       {0x450, 0x45F, Shift::Fixed, -80},
    {0x460, 0x481, Shift::EvenIsUpper, 0},   {0x48A, 0x4BF, Shift::EvenIsUpper, 0},
    {0x4C1, 0x4CE, Shift::OddIsUpper, 0},    {0x4CF, 0x4CF, Shift::Fixed, -15},
    {0x4D0, 0x52F, Shift::EvenIsUpper, 0},   {0x1E00, 0x1E95, Shift::EvenIsUpper, 0},
    {0x1EA0, 0x1EFF, Shift::EvenIsUpper, 0},
};

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t point = text[i];
    if (IsHighSurrogate(point) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (IsHighSurrogate(point) || IsLowSurrogate(point)) {
      point = kReplacement;
    }
    AppendUtf8(out, point);
  }
  return out;
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) AppendUtf16(out, TakeUtf8(text));
  return out;
}

char16_t ToUpper(char16_t unit) {
  if (unit < 0x80) return unit >= 'a' && unit <= 'z' ? static_cast<char16_t>(unit - 32) : unit;
  const auto* range = std::ranges::lower_bound(kCaseRanges, unit, {}, [](const CaseRange& r) { return r.last; });
  if (range == std::end(kCaseRanges) || unit < range->first) return unit;
  if (range->shift == Shift::Fixed) return static_cast<char16_t>(unit + range->distance);
  const bool isUpper = (unit % 2 == 0) == (range->shift == Shift::EvenIsUpper);
  return isUpper ? unit : static_cast<char16_t>(unit - 1);
}

std::u16string ToUpper(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& unit : out) unit = ToUpper(unit);
  return out;
}

int CompareNoCase(std::u16string_view left, std::u16string_view right) {
  const std::size_t common = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = ToUpper(left[i]) - ToUpper(right[i]);
    if (difference != 0) return difference;
  }
  return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

}  // namespace host
