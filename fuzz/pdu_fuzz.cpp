// The bytes of a connection: cut into PDUs, each parsed; calls are put together from their fragments, and what was
// taken is built again and must read the same.
#include <algorithm>
#include <cstdint>

#include "fuzz/check.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/host/rpc/pdu_stream.h"
#include "platform/host/rpc/reassembly.h"

namespace {

using namespace host::rpc;

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
  Check(again.size() > message.stub.size(), "a request holds its stub data");
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
  const std::size_t share = data[0] + 1u;
  auto input = std::as_bytes(std::span(data + 1, size - 1));
  PduStream stream;
  Reassembly reassembly({4096, 4});
  while (!input.empty()) {
    const auto part = input.first(std::min(share, input.size()));
    std::copy(part.begin(), part.end(), stream.Room().begin());
    stream.Filled(part.size());
    input = input.subspan(part.size());
    PduStream::Item item;
    auto outcome = stream.Next(item);
    for (; outcome == PduStream::Outcome::Pdu; outcome = stream.Next(item)) Take(item, reassembly);
    if (outcome == PduStream::Outcome::Refused) return 0;
  }
  return 0;
}
