#include "platform/host/link/frame.h"

#include <cstdint>

namespace host {

namespace {

constexpr std::size_t kHeaderSize = 4;

std::size_t DecodeLength(const char* bytes) {
  std::uint32_t length = 0;
  for (std::size_t i = kHeaderSize; i-- > 0;) length = (length << 8) | static_cast<unsigned char>(bytes[i]);
  return length;
}

// `text` need not be sound: brackets in strings do not count.
bool IsNestedTooDeeply(std::string_view text) {
  int depth = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char unit = text[i];
    if (unit == '"') quoted = !quoted;
    if (quoted && unit == '\\') ++i;
    if (quoted) continue;
    if (unit == '[' || unit == '{') ++depth;
    if (unit == ']' || unit == '}') --depth;
    if (depth > kMaxFrameNesting) return true;
  }
  return false;
}

}  // namespace

std::string EncodeFrame(std::string_view payload) {
  std::string frame;
  frame.reserve(kHeaderSize + payload.size());
  for (std::size_t i = 0; i < kHeaderSize; ++i) frame.push_back(static_cast<char>((payload.size() >> (8 * i)) & 0xFF));
  frame.append(payload);
  return frame;
}

FrameReader::Result FrameReader::Take(std::string* payload) {
  const std::size_t available = buffer_.size() - start_;
  if (available < kHeaderSize) return Result::kIncomplete;
  const std::size_t length = DecodeLength(buffer_.data() + start_);
  if (length > kMaxFrameSize) return Result::kTooLarge;
  if (available - kHeaderSize < length) return Result::kIncomplete;
  payload->assign(buffer_, start_ + kHeaderSize, length);
  start_ += kHeaderSize + length;
  if (start_ == buffer_.size() || start_ > kMaxFrameSize) {
    buffer_.erase(0, start_);
    start_ = 0;
  }
  return IsNestedTooDeeply(*payload) ? Result::kTooLarge : Result::kMessage;
}

}  // namespace host
