// The PDUs as bytes, both ways, and what becomes of bytes that are none.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/host/rpc/pdu_stream.h"
#include "tests/rpc/hex.h"

namespace host::rpc {
namespace {

const SyntaxId kInterface = {hkd04a7::kInterfaceUuid, 1, 0};

// One context element for each transfer syntax and one for the bind-time features.
constexpr const char* kContextElements =
    "00 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
    "             04 5d 88 8a eb 1c c9 11 9f e8 08 00 2b 10 48 60  02 00 00 00"
    "01 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
    "             33 05 71 71 ba be 37 49 83 19 b5 db ef 9c cc 36  01 00 00 00"
    "02 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
    "             2c 1c b7 6c 12 98 40 45 03 00 00 00 00 00 00 00  01 00 00 00";

const std::string kBind = std::string(
                              "05 00 0b 13 10 00 00 00 a0 00 00 00 01 00 00 00"
                              "d0 16 d0 16 00 00 00 00  03 00 00 00") +
                          kContextElements;
const std::string kAlterContext = std::string(
                                      "05 00 0e 13 10 00 00 00 a0 00 00 00 05 00 00 00"
                                      "d0 16 d0 16 78 56 34 12  03 00 00 00") +
                                  kContextElements;

// NDR refused for its transfer syntax, NDR64 accepted, both features acknowledged.
constexpr const char* kResults =
    "02 00 02 00  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  00 00 00 00"
    "00 00 00 00  33 05 71 71 ba be 37 49 83 19 b5 db ef 9c cc 36  01 00 00 00"
    "03 00 03 00  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  00 00 00 00";

const std::string kBindAck = std::string(
                                 "05 00 0c 13 10 00 00 00 7c 00 00 00 01 00 00 00"
                                 "d0 16 d0 16 78 56 34 12"
                                 "13 00 48 6b 64 30 34 61 37 52 70 63 45 6e 64 70 6f 69 6e 74 00  00 00 00"
                                 "03 00 00 00") +
                             kResults;
const std::string kAlterContextResponse = std::string(
                                              "05 00 0f 13 10 00 00 00 68 00 00 00 05 00 00 00"
                                              "d0 16 d0 16 78 56 34 12  00 00  00 00  03 00 00 00") +
                                          kResults;

constexpr const char* kBindNak = "05 00 0d 03 10 00 00 00 17 00 00 00 01 00 00 00  04 00  02 05 00 05 01";
constexpr const char* kRequest =
    "05 00 00 03 10 00 00 00 1c 00 00 00 07 00 00 00  04 00 00 00 01 00 05 00  de ad be ef";
constexpr const char* kRequestWithObject =
    "05 00 00 83 10 00 00 00 2c 00 00 00 07 00 00 00  04 00 00 00 01 00 05 00"
    "24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  de ad be ef";
constexpr const char* kResponse =
    "05 00 02 03 10 00 00 00 1c 00 00 00 07 00 00 00  04 00 00 00 01 00 00 00  de ad be ef";
constexpr const char* kFault =
    "05 00 03 23 10 00 00 00 20 00 00 00 07 00 00 00  00 00 00 00 01 00 00 00  02 00 01 1c 00 00 00 00";
constexpr const char* kCoCancel = "05 00 12 03 10 00 00 00 10 00 00 00 07 00 00 00";
constexpr const char* kOrphaned = "05 00 13 03 10 00 00 00 10 00 00 00 07 00 00 00";

BindPdu TheBind() {
  return {kMaxFragment,
          kMaxFragment,
          0,
          {{0, kInterface, {kNdrSyntax}}, {1, kInterface, {kNdr64Syntax}}, {2, kInterface, {FeatureSyntax(3)}}}};
}

BindAckPdu TheAck() {
  return {kMaxFragment,
          kMaxFragment,
          0x12345678,
          "Hkd04a7RpcEndpoint",
          {{kResultProviderRejection, kReasonTransferSyntaxes, {}},
           {kResultAccepted, 0, kNdr64Syntax},
           {kResultNegotiateAck, 3, {}}}};
}

const std::vector<std::byte> kStub = FromHex("de ad be ef");

TEST(PduBuild, GoldenBytes) {
  BindPdu alter = TheBind();
  alter.associationGroup = 0x12345678;
  BindAckPdu alterResponse = TheAck();
  alterResponse.secondaryAddress.clear();
  const struct {
    const char* name;
    std::string golden;
    std::function<void(Bytes&)> append;
  } cases[] = {
      {"bind", kBind, [](Bytes& out) { AppendBind(PduType::Bind, 1, TheBind(), out); }},
      {"bind_ack", kBindAck, [](Bytes& out) { AppendBindAck(PduType::BindAck, 1, TheAck(), out); }},
      {"bind_nak", kBindNak, [](Bytes& out) { AppendBindNak(1, kNakVersionNotSupported, out); }},
      {"alter_context", kAlterContext, [&](Bytes& out) { AppendBind(PduType::AlterContext, 5, alter, out); }},
      {"alter_context_resp", kAlterContextResponse,
       [&](Bytes& out) { AppendBindAck(PduType::AlterContextResponse, 5, alterResponse, out); }},
      {"request", kRequest,
       [](Bytes& out) {
         AppendRequest(7, {0, 1, 5, {}, kStub}, kMaxFragment, out);
       }},
      {"request with object", kRequestWithObject,
       [](Bytes& out) {
         AppendRequest(7, {0, 1, 5, hkd04a7::kInterfaceUuid, kStub}, kMaxFragment, out);
       }},
      {"response", kResponse,
       [](Bytes& out) {
         AppendResponse(7, {0, 1, 0, kStub}, kMaxFragment, out);
       }},
      {"fault", kFault,
       [](Bytes& out) {
         AppendFault(7, {1, 0, kFaultProcedureOutOfRange}, kDidNotExecute, out);
       }},
      {"co_cancel", kCoCancel, [](Bytes& out) { AppendCoCancel(7, out); }},
      {"orphaned", kOrphaned, [](Bytes& out) { AppendOrphaned(7, out); }},
  };
  for (const auto& testCase : cases) {
    Bytes bytes = FromHex("ff");  // a PDU may follow an earlier one at any offset
    testCase.append(bytes);
    EXPECT_EQ(ToHex(std::span(bytes).subspan(1)), ToHex(FromHex(testCase.golden))) << testCase.name;
  }
}

// One whole PDU, its header read.
struct Received {
  explicit Received(std::string_view hex) : bytes(FromHex(hex)) {
    error = ParseHeader(std::span(bytes).first<kHeaderSize>(), header);
  }
  std::vector<std::byte> bytes;
  PduHeader header;
  PduError error;
};

TEST(PduParse, BindAndAlterContext) {
  for (const auto& [hex, type, group] :
       {std::tuple(kBind, PduType::Bind, 0u), std::tuple(kAlterContext, PduType::AlterContext, 0x12345678u)}) {
    const Received pdu(hex);
    ASSERT_FALSE(pdu.error);
    EXPECT_EQ(pdu.header.type, type);
    EXPECT_TRUE(pdu.header.IsWhole());
    BindPdu bind;
    ASSERT_FALSE(ParseBind(pdu.header, pdu.bytes, bind));
    EXPECT_EQ(bind.maxTransmit, 5840);
    EXPECT_EQ(bind.maxReceive, 5840);
    EXPECT_EQ(bind.associationGroup, group);
    ASSERT_EQ(bind.contexts.size(), 3u);
    const SyntaxId transfers[] = {kNdrSyntax, kNdr64Syntax, FeatureSyntax(3)};
    for (std::uint16_t i = 0; i < 3; ++i) {
      EXPECT_EQ(bind.contexts[i].id, i);
      EXPECT_TRUE(bind.contexts[i].abstractSyntax == kInterface);
      ASSERT_EQ(bind.contexts[i].transferSyntaxes.size(), 1u);
      EXPECT_TRUE(bind.contexts[i].transferSyntaxes[0] == transfers[i]);
    }
    EXPECT_EQ(FeaturesOf(bind.contexts[2].transferSyntaxes[0]), 3);
    EXPECT_EQ(FeaturesOf(bind.contexts[1].transferSyntaxes[0]), std::nullopt);
  }
}

TEST(PduParse, BindAckAndAlterContextResponse) {
  for (const auto& [hex, address] : {std::pair(kBindAck, "Hkd04a7RpcEndpoint"), std::pair(kAlterContextResponse, "")}) {
    const Received pdu(hex);
    BindAckPdu ack;
    ASSERT_FALSE(ParseBindAck(pdu.header, pdu.bytes, ack));
    EXPECT_EQ(ack.maxTransmit, 5840);
    EXPECT_EQ(ack.maxReceive, 5840);
    EXPECT_EQ(ack.associationGroup, 0x12345678u);
    EXPECT_EQ(ack.secondaryAddress, address);
    ASSERT_EQ(ack.results.size(), 3u);
    const BindAckPdu expected = TheAck();
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(ack.results[i].result, expected.results[i].result);
      EXPECT_EQ(ack.results[i].reason, expected.results[i].reason);
      EXPECT_TRUE(ack.results[i].transferSyntax == expected.results[i].transferSyntax);
    }
  }
}

TEST(PduParse, Calls) {
  RequestPdu request;
  const Received plain(kRequest);
  ASSERT_FALSE(ParseRequest(plain.header, plain.bytes, request));
  EXPECT_EQ(std::tuple(plain.header.callId, request.allocationHint, request.contextId, request.procedure),
            std::tuple(7u, 4u, 1, 5));
  EXPECT_FALSE(request.object);
  EXPECT_EQ(ToHex(request.stub), "de ad be ef ");

  const Received withObject(kRequestWithObject);
  ASSERT_FALSE(ParseRequest(withObject.header, withObject.bytes, request));
  ASSERT_TRUE(request.object);
  EXPECT_EQ(request.object->Data1, 0x664DEE24u);
  EXPECT_EQ(ToHex(request.stub), "de ad be ef ");

  const Received answer(kResponse);
  ResponsePdu response;
  ASSERT_FALSE(ParseResponse(answer.header, answer.bytes, response));
  EXPECT_EQ(std::tuple(response.allocationHint, response.contextId, response.cancelCount), std::tuple(4u, 1, 0));
  EXPECT_EQ(ToHex(response.stub), "de ad be ef ");

  const Received refusal(kFault);
  FaultPdu fault;
  ASSERT_FALSE(ParseFault(refusal.header, refusal.bytes, fault));
  EXPECT_EQ(std::tuple(fault.contextId, fault.cancelCount, fault.status), std::tuple(1, 0, 0x1C010002u));

  const Received nakPdu(kBindNak);
  BindNakPdu nak;
  ASSERT_FALSE(ParseBindNak(nakPdu.header, nakPdu.bytes, nak));
  EXPECT_EQ(nak.reason, 4);

  for (const auto& [hex, type] : {std::pair(kCoCancel, PduType::CoCancel), std::pair(kOrphaned, PduType::Orphaned)}) {
    const Received pdu(hex);
    EXPECT_FALSE(pdu.error);
    EXPECT_EQ(pdu.header.type, type);
    EXPECT_EQ(pdu.header.callId, 7u);
  }
}

TEST(PduParse, HeadersThatAreRefused) {
  constexpr auto kNone = PduAnswer::None, kNak = PduAnswer::BindNak, kFaulted = PduAnswer::Fault,
                 kClose = PduAnswer::Close;
  const struct {
    const char* name;
    const char* header;
    PduAnswer answer;
    std::uint32_t code;
  } cases[] = {
      {"minor version 1", "05 01 00 03 10 00 00 00 18 00 00 00 07 00 00 00", kNone, 0},
      {"minor version 2, bind", "05 02 0b 03 10 00 00 00 18 00 00 00 07 00 00 00", kNak, 4},
      {"major version 4, bind", "04 00 0b 03 10 00 00 00 18 00 00 00 07 00 00 00", kNak, 4},
      {"major version 4, request", "04 00 00 03 10 00 00 00 18 00 00 00 07 00 00 00", kFaulted, kFaultProtocolError},
      {"unknown type", "05 00 11 03 10 00 00 00 18 00 00 00 07 00 00 00", kClose, 0},
      {"datagram type", "05 00 09 03 10 00 00 00 18 00 00 00 07 00 00 00", kClose, 0},
      {"big-endian bind", "05 00 0b 03 00 00 00 00 00 18 00 00 00 00 00 07", kNak, 0},
      {"big-endian request", "05 00 00 03 00 00 00 00 00 18 00 00 00 00 00 07", kFaulted, kFaultProtocolError},
      {"other floats", "05 00 00 03 10 01 00 00 18 00 00 00 07 00 00 00", kFaulted, kFaultProtocolError},
      {"EBCDIC", "05 00 00 03 11 00 00 00 18 00 00 00 07 00 00 00", kFaulted, kFaultProtocolError},
      {"shorter than its header", "05 00 0b 03 10 00 00 00 0f 00 00 00 07 00 00 00", kNak, 0},
      {"longest", "05 00 00 03 10 00 00 00 d0 16 00 00 07 00 00 00", kNone, 0},
      {"too long", "05 00 00 03 10 00 00 00 d1 16 00 00 07 00 00 00", kFaulted, kFaultProtocolError},
      {"authenticated bind", "05 00 0b 03 10 00 00 00 18 00 08 00 07 00 00 00", kNak, 8},
      {"authenticated request", "05 00 00 03 10 00 00 00 18 00 08 00 07 00 00 00", kFaulted, kFaultProtocolError},
      {"authenticated cancel", "05 00 12 03 10 00 00 00 10 00 08 00 07 00 00 00", kClose, 0},
      {"too long response", "05 00 02 03 10 00 00 00 ff ff 00 00 07 00 00 00", kClose, 0},
  };
  for (const auto& testCase : cases) {
    const Received pdu(testCase.header);
    EXPECT_EQ(pdu.error.answer, testCase.answer) << testCase.name;
    EXPECT_EQ(pdu.error.code, testCase.code) << testCase.name;
    EXPECT_EQ(pdu.error.answer == kClose || pdu.header.callId != 0, true) << testCase.name;
  }
}

// Cut short at any place, a PDU is refused with what its type calls for. A call's header may end where its stub data
// would begin.
TEST(PduParse, EveryTruncationIsRefused) {
  const auto parse = [](const PduHeader& header, std::span<const std::byte> pdu) -> PduAnswer {
    BindPdu bind;
    BindAckPdu ack;
    BindNakPdu nak;
    RequestPdu request;
    ResponsePdu response;
    FaultPdu fault;
    switch (header.type) {
      case PduType::Bind:
      case PduType::AlterContext:
        return ParseBind(header, pdu, bind).answer;
      case PduType::BindAck:
      case PduType::AlterContextResponse:
        return ParseBindAck(header, pdu, ack).answer;
      case PduType::BindNak:
        return ParseBindNak(header, pdu, nak).answer;
      case PduType::Request:
        return ParseRequest(header, pdu, request).answer;
      case PduType::Response:
        return ParseResponse(header, pdu, response).answer;
      default:
        return ParseFault(header, pdu, fault).answer;
    }
  };
  const struct {
    std::string hex;
    std::size_t needed;
    PduAnswer answer;
  } cases[] = {
      {kBind, 160, PduAnswer::BindNak},
      {kAlterContext, 160, PduAnswer::Fault},
      {kBindAck, 124, PduAnswer::Close},
      {kAlterContextResponse, 104, PduAnswer::Close},
      {kBindNak, 18, PduAnswer::Close},
      {kRequest, 24, PduAnswer::Fault},
      {kRequestWithObject, 40, PduAnswer::Fault},
      {kResponse, 24, PduAnswer::Close},
      {kFault, 28, PduAnswer::Close},
  };
  for (const auto& testCase : cases) {
    const Received pdu(testCase.hex);
    for (std::size_t length = kHeaderSize; length <= pdu.bytes.size(); ++length) {
      // A copy of its own, so that a reader that goes too far leaves the allocation.
      const std::vector<std::byte> cut(pdu.bytes.begin(), pdu.bytes.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(parse(pdu.header, cut), length < testCase.needed ? testCase.answer : PduAnswer::None)
          << testCase.hex.substr(6, 2) << " cut to " << length;
    }
  }
}

TEST(PduParse, BindsThatAreRefused) {
  Received noContext("05 00 0b 03 10 00 00 00 1c 00 00 00 01 00 00 00 d0 16 d0 16 00 00 00 00 00 00 00 00");
  BindPdu bind;
  EXPECT_EQ(ParseBind(noContext.header, noContext.bytes, bind).answer, PduAnswer::BindNak);
  Received fragment(kBind);
  fragment.header.flags = kFirstFragment;
  EXPECT_EQ(ParseBind(fragment.header, fragment.bytes, bind).answer, PduAnswer::BindNak);
}

TEST(PduStream, CutsWhateverWayTheBytesCome) {
  const auto all = FromHex(kBind + std::string(kRequest) + kCoCancel);
  for (std::size_t share = 1; share <= all.size(); ++share) {
    PduStream stream;
    std::vector<PduType> types;
    for (std::size_t begin = 0; begin < all.size(); begin += share) {
      const auto part = std::span(all).subspan(begin, std::min(share, all.size() - begin));
      const auto room = stream.Room();
      ASSERT_GE(room.size(), kMaxFragment);
      std::copy(part.begin(), part.end(), room.begin());
      stream.Filled(part.size());
      PduStream::Item item;
      while (stream.Next(item) == PduStream::Outcome::Pdu) {
        EXPECT_EQ(item.pdu.size(), item.header.fragmentLength);
        types.push_back(item.header.type);
      }
    }
    EXPECT_THAT(types, testing::ElementsAre(PduType::Bind, PduType::Request, PduType::CoCancel)) << share;
  }
}

TEST(PduStream, IsDrainedWhenNothingIsLeft) {
  const auto bytes = FromHex(std::string(kRequest) + kCoCancel);
  PduStream stream;
  EXPECT_TRUE(stream.Drained());
  const auto feed = [&](std::span<const std::byte> part) {
    std::copy(part.begin(), part.end(), PduStream::Room().begin());
    stream.Filled(part.size());
  };
  feed(std::span(bytes).first(bytes.size() - 1));
  PduStream::Item item;
  EXPECT_EQ(stream.Next(item), PduStream::Outcome::Pdu);
  EXPECT_EQ(stream.Next(item), PduStream::Outcome::Incomplete);
  EXPECT_FALSE(stream.Drained());
  feed(std::span(bytes).last(1));
  EXPECT_EQ(stream.Next(item), PduStream::Outcome::Pdu);
  EXPECT_EQ(item.header.type, PduType::CoCancel);
  EXPECT_TRUE(stream.Drained());
}

TEST(PduStream, StopsAtWhatIsNoPdu) {
  PduStream stream;
  const auto bytes = FromHex("47 45 54 20 2f 20 48 54 54 50 2f 31 2e 31 0d 0a");
  std::copy(bytes.begin(), bytes.end(), stream.Room().begin());
  stream.Filled(bytes.size());
  PduStream::Item item;
  EXPECT_EQ(stream.Next(item), PduStream::Outcome::Refused);
  EXPECT_EQ(item.error.answer, PduAnswer::Close);
}

}  // namespace
}  // namespace host::rpc
