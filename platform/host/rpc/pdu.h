// The connection-oriented PDUs of DCE/RPC version 5, minor 0 or 1, little-endian, without authentication: their parts,
// and what is common to all of them. Parsing: pdu_parse.h; building: pdu_build.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/host/base/types.h"

namespace host::rpc {

enum class PduType : std::uint8_t {
  Request = 0,
  Response = 2,
  Fault = 3,
  Bind = 11,
  BindAck = 12,
  BindNak = 13,
  AlterContext = 14,
  AlterContextResponse = 15,
  CoCancel = 18,
  Orphaned = 19
};

// Flags of the common header.
inline constexpr std::uint8_t kFirstFragment = 0x01;
inline constexpr std::uint8_t kLastFragment = 0x02;
inline constexpr std::uint8_t kWholeMessage = kFirstFragment | kLastFragment;
inline constexpr std::uint8_t kPendingCancel = 0x04;
inline constexpr std::uint8_t kConcurrentMultiplexing = 0x10;
inline constexpr std::uint8_t kDidNotExecute = 0x20;
inline constexpr std::uint8_t kObjectUuid = 0x80;

inline constexpr std::size_t kHeaderSize = 16;
inline constexpr std::size_t kCallHeaderSize = 24;  // of a request without object and of a response
inline constexpr std::size_t kFaultSize = 32;
inline constexpr std::uint16_t kMaxFragment = 5840;  // the longest PDU sent or taken, in bytes
inline constexpr std::uint16_t kMinFragment = 1432;  // what every implementation must take

// Fault status codes.
inline constexpr std::uint32_t kFaultProcedureOutOfRange = 0x1C010002;
inline constexpr std::uint32_t kFaultUnknownInterface = 0x1C010003;
inline constexpr std::uint32_t kFaultProtocolError = 0x1C01000B;
inline constexpr std::uint32_t kFaultServerTooBusy = 0x1C010014;
inline constexpr std::uint32_t kFaultCancelled = 0x1C00000D;
inline constexpr std::uint32_t kFaultUnspecified = 0x1C000012;
inline constexpr std::uint32_t kFaultContextMismatch = 0x1C00001A;
inline constexpr std::uint32_t kFaultOutOfMemory = 0x1C00001B;
inline constexpr std::uint32_t kFaultBadPresentationContext = 0x1C00001C;
inline constexpr std::uint32_t kFaultAccessDenied = 5;
inline constexpr std::uint32_t kFaultBadStubData = 0x6F7;

// Reasons of a bind_nak.
inline constexpr std::uint16_t kNakReasonNotSpecified = 0;
inline constexpr std::uint16_t kNakLocalLimitExceeded = 2;
inline constexpr std::uint16_t kNakVersionNotSupported = 4;
inline constexpr std::uint16_t kNakAuthenticationNotRecognized = 8;

// Results of one presentation context in a bind_ack, and the reasons of a rejection.
inline constexpr std::uint16_t kResultAccepted = 0;
inline constexpr std::uint16_t kResultProviderRejection = 2;
inline constexpr std::uint16_t kResultNegotiateAck = 3;  // bind-time features; the reason holds the accepted bits
inline constexpr std::uint16_t kReasonAbstractSyntax = 1;
inline constexpr std::uint16_t kReasonTransferSyntaxes = 2;
inline constexpr std::uint16_t kReasonLocalLimit = 3;

// Bind-time features.
inline constexpr std::uint16_t kFeatureMultiplexing = 0x01;
inline constexpr std::uint16_t kFeatureKeepOnOrphan = 0x02;

struct PduHeader {
  std::uint8_t minorVersion = 0;
  PduType type = PduType::Request;
  std::uint8_t flags = kWholeMessage;
  std::uint16_t fragmentLength = 0;  // of the whole PDU, header included
  std::uint32_t callId = 0;

  bool IsFirst() const { return (flags & kFirstFragment) != 0; }
  bool IsLast() const { return (flags & kLastFragment) != 0; }
  bool IsWhole() const { return (flags & kWholeMessage) == kWholeMessage; }
};

// An interface or a transfer syntax.
struct SyntaxId {
  UUID uuid{};
  std::uint16_t majorVersion = 0;
  std::uint16_t minorVersion = 0;
};
bool operator==(const SyntaxId& left, const SyntaxId& right);

extern const SyntaxId kNdrSyntax;
extern const SyntaxId kNdr64Syntax;

// The transfer syntax that stands for bind-time features, and the features in such a one (nothing for any other).
SyntaxId FeatureSyntax(std::uint16_t features);
std::optional<std::uint16_t> FeaturesOf(const SyntaxId& syntax);

struct ContextElement {
  std::uint16_t id = 0;
  SyntaxId abstractSyntax;
  std::vector<SyntaxId> transferSyntaxes;
};

// bind and alter_context.
struct BindPdu {
  std::uint16_t maxTransmit = kMaxFragment;
  std::uint16_t maxReceive = kMaxFragment;
  std::uint32_t associationGroup = 0;
  std::vector<ContextElement> contexts;
};

struct ContextResult {
  std::uint16_t result = kResultAccepted;
  std::uint16_t reason = 0;
  SyntaxId transferSyntax;  // all zero unless accepted
};

// bind_ack and alter_context_resp.
struct BindAckPdu {
  std::uint16_t maxTransmit = kMaxFragment;
  std::uint16_t maxReceive = kMaxFragment;
  std::uint32_t associationGroup = 0;
  std::string secondaryAddress;  // without its terminator; empty in an alter_context_resp
  std::vector<ContextResult> results;
};

struct BindNakPdu {
  std::uint16_t reason = kNakReasonNotSpecified;
};

struct RequestPdu {
  std::uint32_t allocationHint = 0;
  std::uint16_t contextId = 0;
  std::uint16_t procedure = 0;
  std::optional<UUID> object;
  std::span<const std::byte> stub;  // into the parsed bytes
};

struct ResponsePdu {
  std::uint32_t allocationHint = 0;
  std::uint16_t contextId = 0;
  std::uint8_t cancelCount = 0;
  std::span<const std::byte> stub;  // into the parsed bytes
};

struct FaultPdu {
  std::uint16_t contextId = 0;
  std::uint8_t cancelCount = 0;
  std::uint32_t status = 0;
};

}  // namespace host::rpc
