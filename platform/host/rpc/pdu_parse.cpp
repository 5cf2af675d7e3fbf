#include "platform/host/rpc/pdu_parse.h"

#include "platform/host/rpc/wire_bytes.h"

namespace host::rpc {

namespace {

constexpr std::uint8_t kMajorVersion = 5;
constexpr std::uint8_t kNewestMinorVersion = 1;
constexpr std::uint8_t kLittleEndianAscii = 0x10;
constexpr std::uint8_t kIeeeFloat = 0x00;

bool IsKnown(PduType type) {
  switch (type) {
    case PduType::Request:
    case PduType::Response:
    case PduType::Fault:
    case PduType::Bind:
    case PduType::BindAck:
    case PduType::BindNak:
    case PduType::AlterContext:
    case PduType::AlterContextResponse:
    case PduType::CoCancel:
    case PduType::Orphaned:
      return true;
  }
  return false;
}

PduError Refuse(PduType type, std::uint16_t nakReason) {
  switch (type) {
    case PduType::Bind:
      return {PduAnswer::BindNak, nakReason};
    case PduType::AlterContext:
    case PduType::Request:
      return {PduAnswer::Fault, kFaultProtocolError};
    default:
      return {PduAnswer::Close, 0};
  }
}

PduError Malformed(const PduHeader& header) {
  return Refuse(header.type, kNakReasonNotSpecified);
}

SyntaxId GetSyntax(ByteReader& reader) {
  SyntaxId syntax;
  syntax.uuid = reader.Get<UUID>();
  syntax.majorVersion = reader.Get<std::uint16_t>();
  syntax.minorVersion = reader.Get<std::uint16_t>();
  return syntax;
}

ContextElement GetContextElement(ByteReader& reader) {
  ContextElement element;
  element.id = reader.Get<std::uint16_t>();
  const auto count = reader.Get<std::uint8_t>();
  reader.Get<std::uint8_t>();
  element.abstractSyntax = GetSyntax(reader);
  for (unsigned i = 0; i < count && !reader.Failed(); ++i) element.transferSyntaxes.push_back(GetSyntax(reader));
  return element;
}

ContextResult GetContextResult(ByteReader& reader) {
  ContextResult result;
  result.result = reader.Get<std::uint16_t>();
  result.reason = reader.Get<std::uint16_t>();
  result.transferSyntax = GetSyntax(reader);
  return result;
}

// A counted string with its terminator; the count is 0 in an alter_context_resp.
std::string GetSecondaryAddress(ByteReader& reader) {
  const auto bytes = reader.Take(reader.Get<std::uint16_t>());
  reader.Align(4);
  std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return text.substr(0, text.find('\0'));
}

ByteReader BodyOf(std::span<const std::byte> pdu) {
  ByteReader reader(pdu);
  reader.Take(kHeaderSize);
  return reader;
}

}  // namespace

PduError ParseHeader(std::span<const std::byte, kHeaderSize> bytes, PduHeader& header) {
  ByteReader reader(bytes);
  const auto version = reader.Get<std::uint8_t>();
  header.minorVersion = reader.Get<std::uint8_t>();
  header.type = static_cast<PduType>(reader.Get<std::uint8_t>());
  header.flags = reader.Get<std::uint8_t>();
  const auto integers = reader.Get<std::uint8_t>();
  const auto floats = reader.Get<std::uint8_t>();
  reader.Get<std::uint16_t>();
  header.fragmentLength = reader.Get<std::uint16_t>();
  const auto authenticationLength = reader.Get<std::uint16_t>();
  header.callId = reader.Get<std::uint32_t>();

  if (version != kMajorVersion || header.minorVersion > kNewestMinorVersion) {
    return Refuse(header.type, kNakVersionNotSupported);
  }
  if (!IsKnown(header.type)) return {PduAnswer::Close, 0};
  if (integers != kLittleEndianAscii || floats != kIeeeFloat) return Malformed(header);
  if (header.fragmentLength < kHeaderSize || header.fragmentLength > kMaxFragment) return Malformed(header);
  if (authenticationLength != 0) return Refuse(header.type, kNakAuthenticationNotRecognized);
  return {};
}

PduError ParseBind(const PduHeader& header, std::span<const std::byte> pdu, BindPdu& bind) {
  ByteReader reader = BodyOf(pdu);
  bind.maxTransmit = reader.Get<std::uint16_t>();
  bind.maxReceive = reader.Get<std::uint16_t>();
  bind.associationGroup = reader.Get<std::uint32_t>();
  const auto count = reader.Get<std::uint8_t>();
  reader.Take(3);
  bind.contexts.clear();
  for (unsigned i = 0; i < count && !reader.Failed(); ++i) bind.contexts.push_back(GetContextElement(reader));
  const bool whole = header.IsWhole() && !reader.Failed();
  return whole && count > 0 ? PduError{} : Malformed(header);
}

PduError ParseBindAck(const PduHeader& header, std::span<const std::byte> pdu, BindAckPdu& ack) {
  ByteReader reader = BodyOf(pdu);
  ack.maxTransmit = reader.Get<std::uint16_t>();
  ack.maxReceive = reader.Get<std::uint16_t>();
  ack.associationGroup = reader.Get<std::uint32_t>();
  ack.secondaryAddress = GetSecondaryAddress(reader);
  const auto count = reader.Get<std::uint8_t>();
  reader.Take(3);
  ack.results.clear();
  for (unsigned i = 0; i < count && !reader.Failed(); ++i) ack.results.push_back(GetContextResult(reader));
  return reader.Failed() ? Malformed(header) : PduError{};
}

PduError ParseBindNak(const PduHeader& header, std::span<const std::byte> pdu, BindNakPdu& nak) {
  ByteReader reader = BodyOf(pdu);
  nak.reason = reader.Get<std::uint16_t>();
  return reader.Failed() ? Malformed(header) : PduError{};
}

PduError ParseRequest(const PduHeader& header, std::span<const std::byte> pdu, RequestPdu& request) {
  ByteReader reader = BodyOf(pdu);
  request.allocationHint = reader.Get<std::uint32_t>();
  request.contextId = reader.Get<std::uint16_t>();
  request.procedure = reader.Get<std::uint16_t>();
  request.object.reset();
  if ((header.flags & kObjectUuid) != 0) request.object = reader.Get<UUID>();
  if (reader.Failed()) return Malformed(header);
  request.stub = reader.Rest();
  return {};
}

PduError ParseResponse(const PduHeader& header, std::span<const std::byte> pdu, ResponsePdu& response) {
  ByteReader reader = BodyOf(pdu);
  response.allocationHint = reader.Get<std::uint32_t>();
  response.contextId = reader.Get<std::uint16_t>();
  response.cancelCount = reader.Get<std::uint8_t>();
  reader.Get<std::uint8_t>();
  if (reader.Failed()) return Malformed(header);
  response.stub = reader.Rest();
  return {};
}

PduError ParseFault(const PduHeader& header, std::span<const std::byte> pdu, FaultPdu& fault) {
  ByteReader reader = BodyOf(pdu);
  reader.Get<std::uint32_t>();
  fault.contextId = reader.Get<std::uint16_t>();
  fault.cancelCount = reader.Get<std::uint8_t>();
  reader.Get<std::uint8_t>();
  fault.status = reader.Get<std::uint32_t>();
  return reader.Failed() ? Malformed(header) : PduError{};
}

}  // namespace host::rpc
