// Cuts the bytes of one connection into PDUs.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/host/rpc/pdu_parse.h"

namespace host::rpc {

// Not thread safe. Holds at most one PDU and what was received with it.
class PduStream {
 public:
  enum class Outcome : std::uint8_t { Pdu, Incomplete, Refused };

  struct Item {
    PduHeader header;
    std::span<const std::byte> pdu;  // the whole PDU; good until the next call of Room
    PduError error;                  // with Refused: what to answer; nothing more can be cut from this stream
  };

  // Where to receive into: at least kMaxFragment bytes. Then tell with Filled how many came.
  std::span<std::byte> Room();
  void Filled(std::size_t count) { end_ += count; }

  // Takes the next PDU off.
  Outcome Next(Item& item);

 private:
  std::vector<std::byte> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace host::rpc
