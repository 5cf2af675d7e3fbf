#include "platform/host/rpc/pdu_stream.h"

#include "platform/host/rpc/prefetch.h"

namespace host::rpc {

namespace {

// What a stream keeps of its memory when it is empty: enough for the requests that clients make all day.
constexpr std::size_t kKept = 512;

}  // namespace

std::span<std::byte> PduStream::Room() {
  // Made when a thread first receives; most threads never do.
  thread_local std::vector<std::byte> room(std::size_t{2} * kMaxFragment);
  return room;
}

void PduStream::Filled(std::size_t count) {
  const auto received = Room().first(count);
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(begin_));
  begin_ = 0;
  buffer_.insert(buffer_.end(), received.begin(), received.end());
}

void PduStream::Prefetch() const {
  constexpr std::size_t kShort = 128;  // bytes
  PrefetchMemory(buffer_.data(), kShort);
}

PduStream::Outcome PduStream::Next(Item& item) {
  const auto bytes = std::span<const std::byte>(buffer_).subspan(begin_);
  if (bytes.size() < kHeaderSize) return Outcome::Incomplete;
  item.error = ParseHeader(bytes.first<kHeaderSize>(), item.header);
  if (item.error) return Outcome::Refused;
  if (bytes.size() < item.header.fragmentLength) return Outcome::Incomplete;
  item.pdu = bytes.first(item.header.fragmentLength);
  begin_ += item.header.fragmentLength;
  return Outcome::Pdu;
}

bool PduStream::Drained() {
  if (begin_ < buffer_.size()) return false;
  if (buffer_.capacity() > kKept) buffer_ = {};
  buffer_.clear();
  begin_ = 0;
  return true;
}

}  // namespace host::rpc
