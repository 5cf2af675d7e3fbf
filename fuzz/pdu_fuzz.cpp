// The bytes of a connection: cut into PDUs, each parsed; calls are put together from their fragments, and what was
// taken is built again and must read the same.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz/check.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/host/rpc/pdu_stream.h"
#include "platform/host/rpc/reassembly.h"

namespace {

using namespace host::rpc;

// How a stream was cut, for comparison.
struct Cuts {
  std::vector<std::size_t> lengths;
  bool refused = false;
  bool operator==(const Cuts&) const = default;
};

// Cuts what arrives `share` bytes at a time, as far as it can be taken, and hands each PDU to `take`.
template <typename Function>
Cuts CutUp(std::span<const std::byte> input, std::size_t share, Function take) {
  PduStream stream;
  Cuts cuts;
  while (!input.empty()) {
    const auto part = input.first(std::min(share, input.size()));
    std::copy(part.begin(), part.end(), stream.Room().begin());
    stream.Filled(part.size());
    input = input.subspan(part.size());
    PduStream::Item item;
    auto outcome = stream.Next(item);
    for (; outcome == PduStream::Outcome::Pdu; outcome = stream.Next(item)) {
      cuts.lengths.push_back(item.pdu.size());
      take(item);
    }
    cuts.refused = outcome == PduStream::Outcome::Refused;
    if (cuts.refused) break;
    stream.Drained();
  }
  return cuts;
}

void TakeBind(const PduStream::Item& item) {
  BindPdu bind;
  if (ParseBind(item.header, item.pdu, bind)) return;
  Bytes again;
  AppendBind(item.header.type, item.header.callId, bind, again);
  // Flags, the minor version and reserved bytes need not come back.
  Check(again.size() <= item.pdu.size(), "a bind is not longer when built again");
  PduHeader header;
  BindPdu reread;
  Check(!ParseHeader(std::span(again).first<kHeaderSize>(), header), "a built bind has a good header");
  Check(!ParseBind(header, again, reread), "a built bind can be read");
  Check(reread.contexts.size() == bind.contexts.size(), "a built bind has the same contexts");
}

void TakeBindAck(const PduStream::Item& item) {
  BindAckPdu ack;
  ParseBindAck(item.header, item.pdu, ack);
}

// The bytes of one request, in fragments.
void CheckSameMessage(std::span<const std::byte> bytes, const Message& message) {
  Reassembly reassembly;
  Message reread;
  auto outcome = Reassembly::Outcome::Incomplete;
  CutUp(bytes, kMaxFragment, [&](const PduStream::Item& item) {
    RequestPdu request;
    Check(outcome == Reassembly::Outcome::Incomplete, "a built request has no more fragments than it needs");
    Check(!ParseRequest(item.header, item.pdu, request), "a built request can be read");
    outcome = reassembly.Add(item.header, request.contextId, request.procedure, request.stub, reread);
  });
  Check(outcome == Reassembly::Outcome::Complete && reread.stub == message.stub, "a built request is the same");
  Check(reread.contextId == message.contextId && reread.procedure == message.procedure, "a built request is the same");
}

void TakeRequest(const PduStream::Item& item, Reassembly& reassembly) {
  RequestPdu request;
  if (ParseRequest(item.header, item.pdu, request)) return;
  Message message;
  const auto outcome = reassembly.Add(item.header, request.contextId, request.procedure, request.stub, message);
  if (outcome != Reassembly::Outcome::Complete) return;
  Check(message.stub.size() >= request.stub.size(), "a message holds its last fragment");
  Bytes again;
  AppendRequest(item.header.callId, {0, message.contextId, message.procedure, request.object, message.stub},
                kMinFragment, again);
  CheckSameMessage(again, message);
}

void TakeAnswer(const PduStream::Item& item) {
  ResponsePdu response;
  FaultPdu fault;
  BindNakPdu nak;
  ParseResponse(item.header, item.pdu, response);
  ParseFault(item.header, item.pdu, fault);
  ParseBindNak(item.header, item.pdu, nak);
}

void Take(const PduStream::Item& item, Reassembly& reassembly) {
  Check(item.pdu.size() == item.header.fragmentLength, "a PDU is as long as its header says");
  switch (item.header.type) {
    case PduType::Bind:
    case PduType::AlterContext:
      return TakeBind(item);
    case PduType::BindAck:
    case PduType::AlterContextResponse:
      return TakeBindAck(item);
    case PduType::Request:
      return TakeRequest(item, reassembly);
    default:
      return TakeAnswer(item);
  }
}

}  // namespace

// The first byte is the size in which the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto input = std::as_bytes(std::span(data + 1, size - 1));
  Reassembly reassembly({4096, 4});
  const Cuts cuts = CutUp(input, data[0] + 1u, [&](const PduStream::Item& item) { Take(item, reassembly); });
  const Cuts whole = CutUp(input, kMaxFragment, [](const PduStream::Item&) {});
  Check(cuts == whole, "a stream is cut the same however it arrives");
  return 0;
}
