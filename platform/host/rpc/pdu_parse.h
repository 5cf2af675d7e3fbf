// PDUs out of bytes. Nothing outside the given bytes is read; spans in the results point into them.
#pragma once

#include <cstddef>
#include <span>

#include "platform/host/rpc/pdu.h"

namespace host::rpc {

// What the protocol answers to a PDU that cannot be taken. BindNak is only named for bind and Fault for request and
// alter_context, which have such an answer; everything else ends the connection.
enum class PduAnswer : std::uint8_t { None, BindNak, Fault, Close };

struct PduError {
  PduAnswer answer = PduAnswer::None;
  std::uint32_t code = 0;  // the bind_nak's reason or the fault's status

  explicit operator bool() const { return answer != PduAnswer::None; }
};

// Reads the common header from the first kHeaderSize bytes and checks all of it: version, data representation, type,
// 16 <= fragment length <= kMaxFragment, no authentication. With an answer of BindNak or Fault, `header` holds what
// it needs (type and call id).
PduError ParseHeader(std::span<const std::byte, kHeaderSize> bytes, PduHeader& header);

// Each reads one whole PDU, `pdu` being its header.fragmentLength bytes and `header` what ParseHeader made of them.
PduError ParseBind(const PduHeader& header, std::span<const std::byte> pdu, BindPdu& bind);  // alter_context too
PduError ParseBindAck(const PduHeader& header, std::span<const std::byte> pdu, BindAckPdu& ack);
PduError ParseBindNak(const PduHeader& header, std::span<const std::byte> pdu, BindNakPdu& nak);
PduError ParseRequest(const PduHeader& header, std::span<const std::byte> pdu, RequestPdu& request);
PduError ParseResponse(const PduHeader& header, std::span<const std::byte> pdu, ResponsePdu& response);
PduError ParseFault(const PduHeader& header, std::span<const std::byte> pdu, FaultPdu& fault);

}  // namespace host::rpc
