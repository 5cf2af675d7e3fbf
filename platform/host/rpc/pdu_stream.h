// Cuts the bytes of one connection into PDUs.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/host/rpc/pdu_parse.h"

namespace host::rpc {

// Not thread safe. Holds at most one PDU and what was received with it; next to nothing while nothing is underway.
class PduStream {
 public:
  enum class Outcome : std::uint8_t { Pdu, Incomplete, Refused };

  struct Item {
    PduHeader header;
    std::span<const std::byte> pdu;  // the whole PDU; good until the next call of Filled or Drained
    PduError error;                  // with Refused: what to answer; nothing more can be cut from this stream
  };

  // Where to receive into: at least kMaxFragment bytes, of the calling thread and shared by all its streams. Then tell
  // with Filled how many came, on the same thread and before any other stream is asked.
  static std::span<std::byte> Room();
  void Filled(std::size_t count);

  // Brings the memory that a short PDU goes to nearer.
  void Prefetch() const;

  // Takes the next PDU off.
  Outcome Next(Item& item);

  // Whether all that came has been taken off. The stream then gives back what long PDUs needed, and with it the last
  // item's bytes.
  bool Drained();

 private:
  std::vector<std::byte> buffer_;
  std::size_t begin_ = 0;  // of what has not been taken off yet
};

}  // namespace host::rpc
