// Puts the fragments of requests or responses together, for several calls of one connection at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "platform/host/rpc/pdu.h"

namespace host::rpc {

// A whole message of several fragments, with what its first fragment said.
struct Message {
  std::uint16_t contextId = 0;
  std::uint16_t procedure = 0;
  std::vector<std::byte> stub;
};

// Not thread safe. A message of a single fragment (PduHeader::IsWhole) need not come here.
class Reassembly {
 public:
  struct Limits {
    std::size_t messageBytes = 1u << 20;
    std::size_t openMessages = 64;
  };

  // TooLarge: the message passed a limit; it is forgotten, and its remaining fragments are OutOfOrder.
  // OutOfOrder: a fragment that begins no message and continues none, or begins one that is already open; a message
  // of that call is forgotten.
  enum class Outcome : std::uint8_t { Incomplete, Complete, TooLarge, OutOfOrder };

  Reassembly() = default;
  explicit Reassembly(const Limits& limits) : limits_(limits) {}

  // Adds one fragment. `procedure` is 0 for responses. With Complete, `message` is the whole and no longer held here.
  Outcome Add(const PduHeader& header, std::uint16_t contextId, std::uint16_t procedure,
              std::span<const std::byte> stub, Message& message);

  // Forgets what has come of a call that was cancelled.
  void Drop(std::uint32_t callId);

  std::size_t OpenMessages() const { return open_.size(); }
  // Of all open messages.
  std::size_t Bytes() const { return bytes_; }

 private:
  Limits limits_;
  std::map<std::uint32_t, Message> open_;
  std::size_t bytes_ = 0;
};

}  // namespace host::rpc
