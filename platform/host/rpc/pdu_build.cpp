#include "platform/host/rpc/pdu_build.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/host/rpc/wire_bytes.h"

namespace host::rpc {

namespace {

constexpr std::size_t kFragmentLengthOffset = 8;
constexpr std::size_t kCallIdOffset = 12;
constexpr std::size_t kStubAlignment = 8;  // of every fragment's share but the last

// The fragment length is filled in by Finish; there is no authentication.
void PutHeader(PduType type, std::uint8_t flags, std::uint32_t callId, ByteWriter& writer) {
  std::array<std::uint8_t, kHeaderSize> header = {5, 0, static_cast<std::uint8_t>(type), flags, 0x10};
  std::memcpy(&header[kCallIdOffset], &callId, sizeof(callId));
  writer.Append(std::as_bytes(std::span(header)));
}

void Finish(ByteWriter& writer) {
  writer.Patch(kFragmentLengthOffset, static_cast<std::uint16_t>(writer.Length()));
}

void PutSyntax(const SyntaxId& syntax, ByteWriter& writer) {
  writer.Put(syntax.uuid);
  writer.Put(syntax.majorVersion);
  writer.Put(syntax.minorVersion);
}

void PutCount(std::size_t count, ByteWriter& writer) {
  writer.Put(static_cast<std::uint8_t>(count));
  writer.Put<std::uint8_t>(0);
  writer.Put<std::uint16_t>(0);
}

void PutContextElement(const ContextElement& element, ByteWriter& writer) {
  writer.Put(element.id);
  writer.Put(static_cast<std::uint8_t>(element.transferSyntaxes.size()));
  writer.Put<std::uint8_t>(0);
  PutSyntax(element.abstractSyntax, writer);
  for (const SyntaxId& syntax : element.transferSyntaxes) PutSyntax(syntax, writer);
}

void PutSecondaryAddress(const std::string& address, ByteWriter& writer) {
  const std::size_t length = address.empty() ? 0 : address.size() + 1;
  writer.Put(static_cast<std::uint16_t>(length));
  writer.Append(std::as_bytes(std::span(address.c_str(), length)));
  writer.Align(4);
}

void AppendHeaderOnly(PduType type, std::uint32_t callId, Bytes& out) {
  ByteWriter writer(out);
  PutHeader(type, kWholeMessage, callId, writer);
  Finish(writer);
}

// Splits `stub` and appends one PDU for each share: `putBody(writer, left)` writes what stands between the common
// header and the stub data, `left` being the stub bytes not sent yet (the allocation hint).
template <typename PutBody>
void AppendFragments(PduType type, std::uint8_t flags, std::uint32_t callId, std::span<const std::byte> stub,
                     std::size_t room, PutBody putBody, Bytes& out) {
  constexpr std::size_t kLongestHeaders = 2 * kCallHeaderSize;
  if (out.empty()) out.reserve(std::min(stub.size(), room) + kLongestHeaders);
  bool last = false;
  for (bool first = true; !last; first = false) {
    last = stub.size() <= room;
    const std::size_t share = last ? stub.size() : room / kStubAlignment * kStubAlignment;
    ByteWriter writer(out);
    const int position = (first ? kFirstFragment : 0) | (last ? kLastFragment : 0);
    PutHeader(type, static_cast<std::uint8_t>(flags | position), callId, writer);
    putBody(writer, static_cast<std::uint32_t>(stub.size()));
    writer.Append(stub.first(share));
    Finish(writer);
    stub = stub.subspan(share);
  }
}

}  // namespace

void AppendBind(PduType type, std::uint32_t callId, const BindPdu& bind, Bytes& out) {
  ByteWriter writer(out);
  PutHeader(type, kWholeMessage | kConcurrentMultiplexing, callId, writer);
  writer.Put(bind.maxTransmit);
  writer.Put(bind.maxReceive);
  writer.Put(bind.associationGroup);
  PutCount(bind.contexts.size(), writer);
  for (const ContextElement& element : bind.contexts) PutContextElement(element, writer);
  Finish(writer);
}

void AppendBindAck(PduType type, std::uint32_t callId, const BindAckPdu& ack, Bytes& out) {
  ByteWriter writer(out);
  PutHeader(type, kWholeMessage | kConcurrentMultiplexing, callId, writer);
  writer.Put(ack.maxTransmit);
  writer.Put(ack.maxReceive);
  writer.Put(ack.associationGroup);
  PutSecondaryAddress(ack.secondaryAddress, writer);
  PutCount(ack.results.size(), writer);
  for (const ContextResult& result : ack.results) {
    writer.Put(result.result);
    writer.Put(result.reason);
    PutSyntax(result.transferSyntax, writer);
  }
  Finish(writer);
}

void AppendBindNak(std::uint32_t callId, std::uint16_t reason, Bytes& out) {
  constexpr std::uint8_t kVersions[] = {2, 5, 0, 5, 1};
  ByteWriter writer(out);
  PutHeader(PduType::BindNak, kWholeMessage, callId, writer);
  writer.Put(reason);
  writer.Append(std::as_bytes(std::span(kVersions)));
  Finish(writer);
}

void AppendRequest(std::uint32_t callId, const RequestPdu& request, std::uint16_t maxFragment, Bytes& out) {
  const std::size_t objectSize = request.object ? sizeof(UUID) : 0;
  const auto putBody = [&](ByteWriter& writer, std::uint32_t left) {
    writer.Put(left);
    writer.Put(request.contextId);
    writer.Put(request.procedure);
    if (request.object) writer.Put(*request.object);
  };
  AppendFragments(PduType::Request, request.object ? kObjectUuid : 0, callId, request.stub,
                  maxFragment - kCallHeaderSize - objectSize, putBody, out);
}

void AppendResponse(std::uint32_t callId, const ResponsePdu& response, std::uint16_t maxFragment, Bytes& out) {
  const auto putBody = [&](ByteWriter& writer, std::uint32_t left) {
    writer.Put(left);
    writer.Put(response.contextId);
    writer.Put(response.cancelCount);
    writer.Put<std::uint8_t>(0);
  };
  AppendFragments(PduType::Response, 0, callId, response.stub, maxFragment - kCallHeaderSize, putBody, out);
}

void AppendFault(std::uint32_t callId, const FaultPdu& fault, std::uint8_t flags, Bytes& out) {
  ByteWriter writer(out);
  PutHeader(PduType::Fault, kWholeMessage | flags, callId, writer);
  writer.Put<std::uint32_t>(0);
  writer.Put(fault.contextId);
  writer.Put(fault.cancelCount);
  writer.Put<std::uint8_t>(0);
  writer.Put(fault.status);
  writer.Put<std::uint32_t>(0);
  Finish(writer);
}

void AppendCoCancel(std::uint32_t callId, Bytes& out) {
  AppendHeaderOnly(PduType::CoCancel, callId, out);
}
void AppendOrphaned(std::uint32_t callId, Bytes& out) {
  AppendHeaderOnly(PduType::Orphaned, callId, out);
}

}  // namespace host::rpc
