#include "platform/host/rpc/pdu_stream.h"

#include <algorithm>

namespace host::rpc {

std::span<std::byte> PduStream::Room() {
  constexpr std::size_t kRoom = 2 * kMaxFragment;
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), buffer_.begin() + static_cast<std::ptrdiff_t>(end_),
            buffer_.begin());
  end_ -= begin_;
  begin_ = 0;
  if (buffer_.size() < end_ + kMaxFragment) buffer_.resize(end_ + kRoom);
  return std::span(buffer_).subspan(end_);
}

PduStream::Outcome PduStream::Next(Item& item) {
  const auto bytes = std::span<const std::byte>(buffer_).subspan(begin_, end_ - begin_);
  if (bytes.size() < kHeaderSize) return Outcome::Incomplete;
  item.error = ParseHeader(bytes.first<kHeaderSize>(), item.header);
  if (item.error) return Outcome::Refused;
  if (bytes.size() < item.header.fragmentLength) return Outcome::Incomplete;
  item.pdu = bytes.first(item.header.fragmentLength);
  begin_ += item.header.fragmentLength;
  return Outcome::Pdu;
}

}  // namespace host::rpc
