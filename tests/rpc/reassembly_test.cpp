// Messages in several fragments: cut when they are sent, put together when they come.
#include "platform/host/rpc/reassembly.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/host/rpc/pdu_build.h"
#include "platform/host/rpc/pdu_parse.h"

namespace host::rpc {
namespace {

// Every fragment keeps within the limit, and all but the last carry a multiple of 8 stub bytes.
TEST(Fragments, SplitAndPutTogether) {
  std::vector<std::byte> stub(10000);
  for (std::size_t i = 0; i < stub.size(); ++i) stub[i] = static_cast<std::byte>(i * 7);
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1408}, std::size_t{1409}, stub.size()}) {
    const std::span<const std::byte> part(stub.data(), size);
    Bytes bytes;
    AppendRequest(9, {0, 1, 3, {}, part}, kMinFragment, bytes);
    std::size_t position = 0;
    Reassembly reassembly;
    Message message;
    auto outcome = Reassembly::Outcome::Incomplete;
    while (position < bytes.size()) {
      ASSERT_EQ(outcome, Reassembly::Outcome::Incomplete);
      PduHeader header;
      ASSERT_FALSE(ParseHeader(std::span(bytes).subspan(position).first<kHeaderSize>(), header));
      EXPECT_LE(header.fragmentLength, kMinFragment);
      RequestPdu request;
      ASSERT_FALSE(ParseRequest(header, std::span(bytes).subspan(position, header.fragmentLength), request));
      EXPECT_TRUE(header.IsLast() || request.stub.size() % 8 == 0);
      outcome = reassembly.Add(header, request.contextId, request.procedure, request.stub, message);
      position += header.fragmentLength;
    }
    ASSERT_EQ(outcome, Reassembly::Outcome::Complete) << size;
    EXPECT_EQ(message.contextId, 1);
    EXPECT_EQ(message.procedure, 3);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), message.stub.begin(), message.stub.end()));
    EXPECT_EQ(reassembly.OpenMessages(), 0u);
  }
}

TEST(Reassembly, KeepsCallsApartAndItsLimits) {
  using Outcome = Reassembly::Outcome;
  constexpr std::uint8_t kMiddle = 0;
  Reassembly reassembly({8, 2});
  const auto five = std::vector<std::byte>(5);
  Message message;
  const struct {
    const char* name;
    std::uint32_t callId;
    std::uint8_t flags;
    Outcome outcome;
  } steps[] = {
      {"begins", 1, kFirstFragment, Outcome::Incomplete},
      {"another begins", 2, kFirstFragment, Outcome::Incomplete},
      {"one too many", 3, kFirstFragment, Outcome::TooLarge},
      {"continues what never began", 4, kMiddle, Outcome::OutOfOrder},
      {"begins again", 1, kFirstFragment, Outcome::OutOfOrder},
      {"is forgotten", 1, kMiddle, Outcome::OutOfOrder},
      {"grows too large", 2, kLastFragment, Outcome::TooLarge},
      {"is forgotten too", 2, kLastFragment, Outcome::OutOfOrder},
      {"whole", 5, kWholeMessage, Outcome::Complete},
  };
  for (const auto& step : steps) {
    PduHeader header;
    header.callId = step.callId;
    header.flags = step.flags;
    EXPECT_EQ(reassembly.Add(header, 0, 0, five, message), step.outcome) << step.name;
  }
  EXPECT_EQ(message.stub.size(), 5u);
  EXPECT_EQ(reassembly.OpenMessages(), 0u);
}

}  // namespace
}  // namespace host::rpc
