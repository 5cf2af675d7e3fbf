// The bounded formatter. A format of any characters stays inside its buffer and is the beginning of what a large buffer
// gets; a format made of whole conversions gives what the C library prints for the same numbers.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "common/format.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace {

using Quorvex::PC::Common::FormatArgument;
using Quorvex::PC::Common::FormatBounded;

constexpr WCHAR kUntouched = 0xA55A;

bool IsHighSurrogate(WCHAR character) {
  return character >= 0xD800 && character <= 0xDBFF;
}

// What a buffer of `capacity` characters gets. Nothing behind it is touched.
WideString Formatted(std::size_t capacity, const WideString& format, std::span<const FormatArgument> arguments,
                     bool* cut) {
  std::vector<WCHAR> buffer(capacity + 1, kUntouched);
  const std::size_t length = FormatBounded(buffer.data(), capacity, format.c_str(), arguments, cut);
  Check(length < capacity, "a formatted text leaves room for its end");
  Check(buffer[length] == 0, "a formatted text is terminated");
  Check(buffer[capacity] == kUntouched, "a formatted text stays inside its buffer");
  return WideString(buffer.data(), length);
}

void CheckBounded(std::size_t capacity, const WideString& text, bool cut, const WideString& whole) {
  Check(cut == (whole.size() >= capacity), "a text is cut when it does not fit");
  if (!cut) return Check(text == whole, "a text that fits is whole");
  const bool shorter = capacity >= 2 && IsHighSurrogate(whole[capacity - 2]);
  Check(text == whole.substr(0, capacity - (shorter ? 2 : 1)), "a cut text fills its buffer, but for half a pair");
}

// Numbers and texts in the order of the input; the texts live in `texts`.
std::vector<FormatArgument> TakeArguments(Input& input, std::vector<WideString>& texts) {
  std::vector<FormatArgument> arguments;
  const unsigned count = input.Get<std::uint8_t>() % 8;
  texts.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    const auto kind = input.Get<std::uint8_t>();
    if (kind % 4 == 0) arguments.emplace_back(input.Get<std::uint32_t>());
    if (kind % 4 == 1) arguments.emplace_back(input.Get<std::int64_t>());
    if (kind % 4 == 2) arguments.emplace_back(input.Get<std::int8_t>());
    if (kind % 4 != 3) continue;
    WideString& text = texts.emplace_back();
    for (unsigned left = kind / 4; left > 0; --left) text += static_cast<WCHAR>(input.Get<std::uint16_t>());
    arguments.emplace_back(kind == 0xFF ? nullptr : text.c_str());
  }
  return arguments;
}

void TryAnyFormat(std::size_t capacity, Input& input) {
  std::vector<WideString> texts;
  const auto arguments = TakeArguments(input, texts);
  WideString format;
  while (input.HasMore()) format += static_cast<WCHAR>(input.Get<std::uint8_t>());
  // A conversion is as wide as its width, below ten thousand, and takes at least two characters.
  const std::size_t enough = format.size() + (arguments.size() + 1) * 10000;
  bool cut = true;
  const WideString whole = Formatted(enough, format, arguments, &cut);
  Check(!cut, "a large buffer takes all");
  const WideString text = Formatted(capacity, format, arguments, &cut);
  CheckBounded(capacity, text, cut, whole);
}

// One conversion of a number in the C library's terms, and its result.
struct Conversion {
  std::string format;
  std::string expected;
  FormatArgument argument;
};

template <typename Number>
Conversion Expect(const std::string& start, const char* prefix, char type, Number number) {
  const std::string format = start + prefix + type;
  char text[64];
  std::snprintf(text, sizeof(text), format.c_str(), number);
  return {format, text, number};
}

Conversion TakeConversion(Input& input) {
  const auto choice = input.Get<std::uint8_t>();
  const std::string start = std::string("%") + ((choice & 1) != 0 ? "0" : "") +
                            ((choice & 2) != 0 ? std::to_string(1 + input.Get<std::uint8_t>() % 40) : "");
  const char type = "udxX"[choice >> 2 & 3];
  const bool wide = (choice & 0x10) != 0;
  if (type == 'd' && wide) return Expect(start, "ll", type, static_cast<long long>(input.Get<std::int64_t>()));
  if (wide) return Expect(start, "ll", type, static_cast<unsigned long long>(input.Get<std::uint64_t>()));
  if (type == 'd') return Expect(start, "", type, input.Get<std::int32_t>());
  return Expect(start, "", type, input.Get<std::uint32_t>());
}

void TryConversions(std::size_t capacity, Input& input) {
  std::string format, expected;
  std::vector<FormatArgument> arguments;
  while (input.HasMore()) {
    const Conversion conversion = TakeConversion(input);
    format += conversion.format + "%%,";
    expected += conversion.expected + "%,";
    arguments.push_back(conversion.argument);
  }
  bool cut = false;
  const WideString wideFormat(format.begin(), format.end());
  const WideString text = Formatted(capacity, wideFormat, arguments, &cut);
  CheckBounded(capacity, text, cut, WideString(expected.begin(), expected.end()));
}

}  // namespace

// The first two bytes: the buffer's size, and which of the two kinds of format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto capacity = std::size_t{input.Get<std::uint8_t>()} + 1;
  const bool conversions = input.Get<std::uint8_t>() % 2 != 0;
  conversions ? TryConversions(capacity, input) : TryAnyFormat(capacity, input);
  return 0;
}
