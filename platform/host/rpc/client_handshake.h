// The bind at the beginning of a connection.
#pragma once

#include <cstdint>

#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/pdu_stream.h"
#include "platform/host/rpc/rpc_types.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

struct Negotiated {
  Syntax syntax = Syntax::Ndr;
  std::uint16_t contextId = 0;
  std::uint16_t maxFragment = kMinFragment;  // the longest PDU the server takes
  std::uint32_t associationGroup = 0;
  std::uint16_t features = 0;
};

// Offers `description` over the process's transfer syntaxes on a connected blocking socket and waits for the answer, at
// most half a minute. RPC_S_UNKNOWN_IF, RPC_S_UNSUPPORTED_TRANS_SYN, RPC_S_SERVER_TOO_BUSY, RPC_S_PROTOCOL_ERROR,
// RPC_S_SERVER_UNAVAILABLE (closed, no answer), or what a fault says. What came behind the answer is left in `stream`.
RPC_STATUS Negotiate(int socket, const InterfaceDescription& description, PduStream& stream, Negotiated& negotiated);

// Test surface: the transfer syntaxes that later connections of this process offer. Both unless told otherwise.
void OfferTransferSyntaxes(bool ndr, bool ndr64);

}  // namespace host::rpc
