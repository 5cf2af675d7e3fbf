// A bounded printf-style formatter for wide text, the same in both builds.
//
// Conversions: %u %d %x %X %s %c %%, with the flag 0, a field width and the length prefixes l, ll and h (which are read
// and ignored: each argument carries its own width). Arguments are typed, so a wrong conversion prints something
// readable instead of reading stray memory; a conversion without an argument is copied as it stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "platform/types.h"

namespace Quorvex::PC::Common {

class FormatArgument {
 public:
  template <typename T>
  requires std::is_integral_v<T> FormatArgument(T value)
      : number_(static_cast<std::uint64_t>(static_cast<std::make_unsigned_t<T>>(value))), bits_(sizeof(T) * 8) {}
  FormatArgument(const WCHAR* text) : text_(text), isText_(true) {}

  bool IsText() const { return isText_; }
  const WCHAR* Text() const { return text_; }
  std::uint64_t Unsigned() const { return number_; }
  std::int64_t Signed() const {
    const unsigned shift = 64 - bits_;
    return static_cast<std::int64_t>(number_ << shift) >> shift;
  }

 private:
  std::uint64_t number_ = 0;
  unsigned bits_ = 64;
  const WCHAR* text_ = nullptr;
  bool isText_ = false;
};

// Formats into `buffer` of `capacity` characters (at least 1), always terminated. A text that does not fit is cut to
// capacity - 1 characters, never between the halves of a surrogate pair. Returns the length written and, in `cut` when
// given, whether the text was cut.
std::size_t FormatBounded(WCHAR* buffer, std::size_t capacity, const WCHAR* format,
                          std::span<const FormatArgument> arguments, bool* cut = nullptr);

// The same for a buffer of fixed size, with the arguments in place. Returns false when the text was cut.
template <std::size_t Capacity, typename... Args>
bool Format(WCHAR (&buffer)[Capacity], const WCHAR* format, const Args&... args) {
  const FormatArgument arguments[] = {FormatArgument(args)..., FormatArgument(0)};
  bool cut = false;
  FormatBounded(buffer, Capacity, format, std::span(arguments, sizeof...(Args)), &cut);
  return !cut;
}

}  // namespace Quorvex::PC::Common
