// Little-endian values in and out of byte buffers. Reading never leaves the buffer: the first read that does not fit
// makes the reader fail for good, and every later read answers zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace host::rpc {

class ByteReader {
 public:
  explicit ByteReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

  template <typename Value>
  Value Get() {
    Value value{};
    const auto source = Take(sizeof(Value));
    if (!source.empty()) std::memcpy(&value, source.data(), sizeof(Value));
    return value;
  }

  // The next `count` bytes, in place; empty when they are not there.
  std::span<const std::byte> Take(std::size_t count) {
    if (count > Left()) failed_ = true;
    if (failed_) return {};
    const auto taken = bytes_.subspan(position_, count);
    position_ += count;
    return taken;
  }

  // Skips to the next multiple of `alignment` (a power of two), counted from the buffer's start.
  void Align(std::size_t alignment) { Take((alignment - position_ % alignment) % alignment); }

  std::size_t Left() const { return bytes_.size() - position_; }
  std::span<const std::byte> Rest() const { return bytes_.subspan(position_); }
  bool Failed() const { return failed_; }

 private:
  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

// Appends to a vector that the caller owns. Alignment counts from the vector's length at construction.
class ByteWriter {
 public:
  explicit ByteWriter(std::vector<std::byte>& out) : out_(out), start_(out.size()) {}

  template <typename Value>
  void Put(Value value) {
    Append(std::as_bytes(std::span(&value, 1)));
  }

  void Append(std::span<const std::byte> bytes) { out_.insert(out_.end(), bytes.begin(), bytes.end()); }
  void Align(std::size_t alignment) { out_.resize(out_.size() + (alignment - Length() % alignment) % alignment); }
  std::size_t Length() const { return out_.size() - start_; }

  // Overwrites a value written earlier, `offset` bytes after the start.
  template <typename Value>
  void Patch(std::size_t offset, Value value) {
    std::memcpy(out_.data() + start_ + offset, &value, sizeof(Value));
  }

 private:
  std::vector<std::byte>& out_;
  std::size_t start_;
};

}  // namespace host::rpc
