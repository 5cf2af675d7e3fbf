// PDUs into bytes. Every function appends to `out`, which the caller owns and may already hold earlier PDUs.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/host/rpc/pdu.h"

namespace host::rpc {

using Bytes = std::vector<std::byte>;

// `type` is Bind or AlterContext.
void AppendBind(PduType type, std::uint32_t callId, const BindPdu& bind, Bytes& out);
// `type` is BindAck or AlterContextResponse.
void AppendBindAck(PduType type, std::uint32_t callId, const BindAckPdu& ack, Bytes& out);
// Names 5.0 and 5.1 as the versions that are spoken.
void AppendBindNak(std::uint32_t callId, std::uint16_t reason, Bytes& out);

// One message, in as many fragments of at most `maxFragment` bytes (at least kMinFragment) as it takes. Of `request`
// and `response` all members count, `stub` being the whole message's; the allocation hint is filled in.
void AppendRequest(std::uint32_t callId, const RequestPdu& request, std::uint16_t maxFragment, Bytes& out);
void AppendResponse(std::uint32_t callId, const ResponsePdu& response, std::uint16_t maxFragment, Bytes& out);

// `flags` may add kDidNotExecute.
void AppendFault(std::uint32_t callId, const FaultPdu& fault, std::uint8_t flags, Bytes& out);

void AppendCoCancel(std::uint32_t callId, Bytes& out);
void AppendOrphaned(std::uint32_t callId, Bytes& out);

}  // namespace host::rpc
