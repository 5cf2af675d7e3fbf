// A fuzz target's input, taken value by value.
#pragma once

#include <span>

#include "platform/host/rpc/wire_bytes.h"

// Answers zeros from the first value on that is no longer whole.
class Input : public host::rpc::ByteReader {
 public:
  Input(const std::uint8_t* data, std::size_t size) : ByteReader(std::as_bytes(std::span(data, size))) {}

  bool HasMore() const { return !Failed() && Left() > 0; }
};
