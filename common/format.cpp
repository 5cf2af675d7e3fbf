#include "common/format.h"

namespace Quorvex::PC::Common {
namespace {

// Collects characters up to a bound.
class BoundedText {
 public:
  BoundedText(WCHAR* buffer, std::size_t capacity) : buffer_(buffer), room_(capacity - 1) {}

  void Put(WCHAR character) {
    if (length_ == room_) {
      cut_ = true;
      return;
    }
    buffer_[length_++] = character;
  }

  std::size_t Finish() {
    if (cut_ && length_ > 0 && IsHighSurrogate(buffer_[length_ - 1])) --length_;
    buffer_[length_] = 0;
    return length_;
  }

  bool WasCut() const { return cut_; }

 private:
  static bool IsHighSurrogate(WCHAR character) { return character >= 0xD800 && character <= 0xDBFF; }

  WCHAR* buffer_;
  std::size_t room_;
  std::size_t length_ = 0;
  bool cut_ = false;
};

// One conversion as it stands in the format string.
struct Conversion {
  bool zeroFill = false;
  std::size_t width = 0;
  WCHAR type = 0;
  const WCHAR* end = nullptr;  // behind the conversion
};

constexpr std::size_t kLargestWidth = 1000;

Conversion ReadConversion(const WCHAR* at) {
  Conversion conversion;
  for (; *at == '0'; ++at) conversion.zeroFill = true;
  for (; *at >= '0' && *at <= '9'; ++at) {
    if (conversion.width < kLargestWidth)
      conversion.width = conversion.width * 10 + static_cast<std::size_t>(*at - '0');
  }
  while (*at == 'l' || *at == 'h') ++at;
  conversion.type = *at;
  conversion.end = *at == 0 ? at : at + 1;
  return conversion;
}

void PutPadded(BoundedText& out, const Conversion& conversion, bool negative, const WCHAR* text, std::size_t length) {
  const std::size_t total = length + (negative ? 1 : 0);
  std::size_t fill = conversion.width > total ? conversion.width - total : 0;
  if (negative && conversion.zeroFill) out.Put('-');
  for (; fill > 0; --fill) out.Put(conversion.zeroFill ? '0' : ' ');
  if (negative && !conversion.zeroFill) out.Put('-');
  for (std::size_t i = 0; i < length; ++i) out.Put(text[i]);
}

void PutNumber(BoundedText& out, const Conversion& conversion, const FormatArgument& argument) {
  const unsigned base = (conversion.type == 'x' || conversion.type == 'X') ? 16 : 10;
  const char* digits = conversion.type == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
  const bool negative = conversion.type == 'd' && argument.Signed() < 0;
  std::uint64_t value = negative ? 0 - static_cast<std::uint64_t>(argument.Signed()) : argument.Unsigned();
  WCHAR text[20];
  std::size_t length = 0;
  do {
    text[20 - ++length] = static_cast<WCHAR>(digits[value % base]);
    value /= base;
  } while (value != 0);
  PutPadded(out, conversion, negative, text + 20 - length, length);
}

void PutText(BoundedText& out, const Conversion& conversion, const WCHAR* text) {
  if (text == nullptr) text = W("(null)");
  PutPadded(out, {.width = conversion.width}, false, text, WideStringView(text).size());
}

void PutArgument(BoundedText& out, const Conversion& conversion, const FormatArgument& argument) {
  if (argument.IsText()) return PutText(out, conversion, argument.Text());
  if (conversion.type == 'c') return out.Put(static_cast<WCHAR>(argument.Unsigned()));
  PutNumber(out, conversion, argument);
}

bool IsConversion(WCHAR type) {
  return WideStringView(W("udxXsc")).find(type) != WideStringView::npos && type != 0;
}

}  // namespace

std::size_t FormatBounded(WCHAR* buffer, std::size_t capacity, const WCHAR* format,
                          std::span<const FormatArgument> arguments, bool* cut) {
  BoundedText out(buffer, capacity);
  std::size_t next = 0;
  while (*format != 0) {
    if (*format != '%') {
      out.Put(*format++);
      continue;
    }
    const Conversion conversion = ReadConversion(format + 1);
    if (conversion.type == '%') {
      out.Put('%');
    } else if (IsConversion(conversion.type) && next < arguments.size()) {
      PutArgument(out, conversion, arguments[next++]);
    } else {
      for (const WCHAR* at = format; at != conversion.end; ++at) out.Put(*at);
    }
    format = conversion.end;
  }
  const std::size_t length = out.Finish();
  if (cut != nullptr) *cut = out.WasCut();
  return length;
}

}  // namespace Quorvex::PC::Common
