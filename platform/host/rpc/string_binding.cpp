#include "platform/host/rpc/string_binding.h"

namespace host::rpc {

namespace {

// Takes what stands before `separator` off `text`; false, with `text` as it was, where there is no separator.
bool TakeBefore(std::u16string_view& text, char16_t separator, std::u16string& part) {
  const std::size_t position = text.find(separator);
  if (position == text.npos) return false;
  part = text.substr(0, position);
  text.remove_prefix(position + 1);
  return true;
}

}  // namespace

std::u16string ComposeStringBinding(const StringBinding& parts) {
  std::u16string text;
  if (!parts.objectUuid.empty()) text += parts.objectUuid + u'@';
  text += parts.protocolSequence + u':' + parts.networkAddress;
  if (parts.endpoint.empty() && parts.options.empty()) return text;
  text += u'[' + parts.endpoint;
  if (!parts.options.empty()) text += u',' + parts.options;
  return text + u']';
}

std::optional<StringBinding> ParseStringBinding(std::u16string_view text) {
  StringBinding parts;
  TakeBefore(text, u'@', parts.objectUuid);
  if (!TakeBefore(text, u':', parts.protocolSequence) || parts.protocolSequence.empty()) return std::nullopt;
  if (!TakeBefore(text, u'[', parts.networkAddress)) {
    parts.networkAddress = text;
    return parts;
  }
  if (text.empty() || text.back() != u']') return std::nullopt;
  text.remove_suffix(1);
  if (!TakeBefore(text, u',', parts.endpoint)) {
    parts.endpoint = text;
    return parts;
  }
  parts.options = text;
  return parts;
}

}  // namespace host::rpc
