#include "platform/host/rpc/client_handshake.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>

#include "platform/host/rpc/fault_status.h"
#include "platform/host/rpc/pdu_build.h"

namespace host::rpc {

namespace {

constexpr std::uint32_t kBindCallId = 1;
constexpr timeval kPatience = {30, 0};

// Presentation contexts by their identifiers in the bind.
enum ContextId : std::uint16_t { kNdrContext, kNdr64Context, kFeatureContext };

std::atomic<bool> offersNdr = true;
std::atomic<bool> offersNdr64 = true;

BindPdu BindFor(const InterfaceDescription& description) {
  const SyntaxId abstractSyntax = {description.uuid, description.majorVersion, description.minorVersion};
  BindPdu bind;
  if (offersNdr) bind.contexts.push_back({kNdrContext, abstractSyntax, {kNdrSyntax}});
  if (offersNdr64) bind.contexts.push_back({kNdr64Context, abstractSyntax, {kNdr64Syntax}});
  bind.contexts.push_back(
      {kFeatureContext, abstractSyntax, {FeatureSyntax(kFeatureMultiplexing | kFeatureKeepOnOrphan)}});
  return bind;
}

bool SendAll(int socket, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
  return true;
}

// Receives until there is a whole PDU; nothing when the connection ends first or says nothing for too long.
std::optional<PduStream::Item> ReceivePdu(int socket, PduStream& stream) {
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience));
  for (;;) {
    PduStream::Item item;
    if (stream.Next(item) != PduStream::Outcome::Incomplete) return item;
    const auto room = stream.Room();
    const ssize_t received = recv(socket, room.data(), room.size(), 0);
    if (received < 0 && errno == EINTR) continue;
    if (received <= 0) return std::nullopt;
    stream.Filled(static_cast<std::size_t>(received));
  }
}

RPC_STATUS RejectionStatus(const BindPdu& bind, const BindAckPdu& ack) {
  for (std::size_t i = 0; i < bind.contexts.size(); ++i) {
    if (bind.contexts[i].id == kFeatureContext) continue;
    if (ack.results[i].reason == kReasonAbstractSyntax) return RPC_S_UNKNOWN_IF;
  }
  return RPC_S_UNSUPPORTED_TRANS_SYN;
}

// Every result answers the context element in its place.
RPC_STATUS ApplyAck(const BindPdu& bind, const BindAckPdu& ack, Negotiated& negotiated) {
  if (ack.results.size() != bind.contexts.size() || ack.maxReceive < kMinFragment) return RPC_S_PROTOCOL_ERROR;
  negotiated.maxFragment = std::min(ack.maxReceive, kMaxFragment);
  negotiated.associationGroup = ack.associationGroup;
  bool accepted = false;
  for (std::size_t i = 0; i < bind.contexts.size(); ++i) {
    const std::uint16_t id = bind.contexts[i].id;
    if (id == kFeatureContext) {
      if (ack.results[i].result == kResultNegotiateAck) negotiated.features = ack.results[i].reason;
    } else if (ack.results[i].result == kResultAccepted && !accepted) {
      accepted = true;
      negotiated.contextId = id;
      negotiated.syntax = id == kNdr64Context ? Syntax::Ndr64 : Syntax::Ndr;
    }
  }
  return accepted ? RPC_S_OK : RejectionStatus(bind, ack);
}

RPC_STATUS NakStatus(const BindNakPdu& nak) {
  constexpr std::uint16_t kTemporaryCongestion = 1;
  const bool busy = nak.reason == kTemporaryCongestion || nak.reason == kNakLocalLimitExceeded;
  return busy ? RPC_S_SERVER_TOO_BUSY : RPC_S_PROTOCOL_ERROR;
}

RPC_STATUS ApplyAnswer(const BindPdu& bind, const PduStream::Item& answer, Negotiated& negotiated) {
  BindAckPdu ack;
  BindNakPdu nak;
  FaultPdu fault;
  if (answer.error || answer.header.callId != kBindCallId) return RPC_S_PROTOCOL_ERROR;
  switch (answer.header.type) {
    case PduType::BindAck:
      return ParseBindAck(answer.header, answer.pdu, ack) ? RPC_S_PROTOCOL_ERROR : ApplyAck(bind, ack, negotiated);
    case PduType::BindNak:
      return ParseBindNak(answer.header, answer.pdu, nak) ? RPC_S_PROTOCOL_ERROR : NakStatus(nak);
    case PduType::Fault:
      return ParseFault(answer.header, answer.pdu, fault) ? RPC_S_PROTOCOL_ERROR : StatusFromFault(fault.status);
    default:
      return RPC_S_PROTOCOL_ERROR;
  }
}

}  // namespace

RPC_STATUS Negotiate(int socket, const InterfaceDescription& description, PduStream& stream, Negotiated& negotiated) {
  const BindPdu bind = BindFor(description);
  Bytes bytes;
  AppendBind(PduType::Bind, kBindCallId, bind, bytes);
  if (!SendAll(socket, bytes)) return RPC_S_SERVER_UNAVAILABLE;
  const auto answer = ReceivePdu(socket, stream);
  return answer ? ApplyAnswer(bind, *answer, negotiated) : RPC_S_SERVER_UNAVAILABLE;
}

void OfferTransferSyntaxes(bool ndr, bool ndr64) {
  offersNdr = ndr;
  offersNdr64 = ndr64;
}

}  // namespace host::rpc
