#include "tools/wide_text.h"

namespace tool {

WideString ToWide(const std::string& text) {
  const int length = static_cast<int>(text.size());
  WideString wide(text.size(), 0);
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()))));
  return wide;
}

std::string ToNarrow(const WideString& text) {
  const int length = static_cast<int>(text.size());
  const int needed = WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(needed), 0);
  WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.data(), needed, nullptr, nullptr);
  return narrow;
}

}  // namespace tool
