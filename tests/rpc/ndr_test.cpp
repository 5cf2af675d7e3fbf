// Stub data of the ten procedures as bytes, in both transfer syntaxes and both directions.
#include <gtest/gtest.h>

#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/stub.h"
#include "tests/rpc/hex.h"

namespace host::rpc {
namespace {

using namespace hkd04a7;

// The arguments of every case: the n-th parameter is 0x8000100n as a number, "ab", "c" or "" as a string in the first,
// second or third place; there is one context handle and one record, and the result is 0x800703E5.
constexpr const char* kToken = "00 00 00 00  a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae af b0";
constexpr const char* kRecord = "21 00 00 00 22 00 00 00 23 00 00 80";
constexpr std::uint32_t kResult = 0x800703E5;

Call TheCall(const Procedure& procedure) {
  const std::u16string texts[] = {u"", u"ab", u"c", u""};
  Call call;
  call.arguments.resize(procedure.parameters.size());
  call.result = kResult;
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    Argument& argument = call.arguments[i];
    const auto token = FromHex(kToken);
    const auto record = FromHex(kRecord);
    switch (procedure.parameters[i].kind) {
      case ParameterKind::Binding:
        break;
      case ParameterKind::Long:
        argument.number = 0x80001000 + static_cast<std::uint32_t>(i);
        break;
      case ParameterKind::WideString:
        argument.text = texts[i];
        break;
      case ParameterKind::Context:
        std::copy(token.begin(), token.end(), argument.token.bytes.begin());
        break;
      case ParameterKind::Record:
        std::copy(record.begin(), record.end(), argument.record.begin());
        break;
    }
  }
  return call;
}

struct Golden {
  ProcedureNumber procedure;
  Syntax syntax;
  const char* request;
  const char* response;
};

constexpr const char* kTokenAndResult = "00 00 00 00  a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae af b0  e5 03 07 80";
constexpr const char* kRecordAndResult = "21 00 00 00 22 00 00 00 23 00 00 80  e5 03 07 80";
constexpr const char* kResultOnly = "e5 03 07 80";
constexpr const char* kCallFuncMethod =
    "00 00 00 00  a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae af b0"
    "01 10 00 80 02 10 00 80 03 10 00 80 04 10 00 80";
constexpr const char* kGetWakeupStatus = "00 00 00 00  a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae af b0  01 10 00 80";

// Only strings differ between the syntaxes: the width of their three counts, and so the padding before and after.
const Golden kGolden[] = {
    {kDeviceCreate, Syntax::Ndr, "", kTokenAndResult},
    {kDeviceCreate, Syntax::Ndr64, "", kTokenAndResult},
    {kDeviceClose, Syntax::Ndr, kToken, kTokenAndResult},
    {kDeviceClose, Syntax::Ndr64, kToken, kTokenAndResult},
    {kDeviceCallFuncMethod, Syntax::Ndr, kCallFuncMethod, "05 10 00 80  e5 03 07 80"},
    {kDeviceCallFuncMethod, Syntax::Ndr64, kCallFuncMethod, "05 10 00 80  e5 03 07 80"},
    {kEventNotifyCreate, Syntax::Ndr, "", kTokenAndResult},
    {kEventNotifyCreate, Syntax::Ndr64, "", kTokenAndResult},
    {kEventNotifyDestroy, Syntax::Ndr, kToken, kTokenAndResult},
    {kEventNotifyDestroy, Syntax::Ndr64, kToken, kTokenAndResult},
    {kEventNotifyWaitEventAsync, Syntax::Ndr, kToken, kRecordAndResult},
    {kEventNotifyWaitEventAsync, Syntax::Ndr64, kToken, kRecordAndResult},
    {kRegisterAppService, Syntax::Ndr,
     "03 00 00 00 00 00 00 00 03 00 00 00  61 00 62 00 00 00  00 00"
     "02 00 00 00 00 00 00 00 02 00 00 00  63 00 00 00"
     "03 10 00 80 04 10 00 80 05 10 00 80",
     kResultOnly},
    {kRegisterAppService, Syntax::Ndr64,
     "03 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  03 00 00 00 00 00 00 00  61 00 62 00 00 00  00 00"
     "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  63 00 00 00"
     "03 10 00 80 04 10 00 80 05 10 00 80",
     kResultOnly},
    {kUnregisterAppService, Syntax::Ndr,
     "03 00 00 00 00 00 00 00 03 00 00 00  61 00 62 00 00 00  00 00"
     "02 10 00 80 03 10 00 80 04 10 00 80",
     kResultOnly},
    {kUnregisterAppService, Syntax::Ndr64,
     "03 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  03 00 00 00 00 00 00 00  61 00 62 00 00 00  00 00"
     "02 10 00 80 03 10 00 80 04 10 00 80",
     kResultOnly},
    {kDeviceGetWakeupStatus, Syntax::Ndr, kGetWakeupStatus, "02 10 00 80  e5 03 07 80"},
    {kDeviceGetWakeupStatus, Syntax::Ndr64, kGetWakeupStatus, "02 10 00 80  e5 03 07 80"},
    {kRunFileAsSystem, Syntax::Ndr,
     "01 10 00 80"
     "02 00 00 00 00 00 00 00 02 00 00 00  63 00 00 00"
     "01 00 00 00 00 00 00 00 01 00 00 00  00 00",
     "04 10 00 80  e5 03 07 80"},
    {kRunFileAsSystem, Syntax::Ndr64,
     "01 10 00 80  00 00 00 00"
     "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  63 00 00 00  00 00 00 00"
     "01 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  01 00 00 00 00 00 00 00  00 00",
     "04 10 00 80  e5 03 07 80"},
};

// All arguments but those of direction `without` are the same.
void ExpectSameArguments(const Procedure& procedure, Direction without, const Call& actual, const Call& expected) {
  ASSERT_EQ(actual.arguments.size(), expected.arguments.size());
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    if (procedure.parameters[i].direction == without) continue;
    SCOPED_TRACE(procedure.parameters[i].name);
    EXPECT_EQ(actual.arguments[i].number, expected.arguments[i].number);
    EXPECT_EQ(actual.arguments[i].text, expected.arguments[i].text);
    EXPECT_EQ(actual.arguments[i].token, expected.arguments[i].token);
    EXPECT_EQ(actual.arguments[i].record, expected.arguments[i].record);
  }
}

TEST(Ndr, GoldenBytesOfEveryProcedure) {
  EXPECT_EQ(std::size(kGolden), 2 * kProcedureCount);
  for (const Golden& golden : kGolden) {
    const Procedure& procedure = kProcedures[golden.procedure];
    SCOPED_TRACE(std::string(procedure.name) + (golden.syntax == Syntax::Ndr ? " NDR" : " NDR64"));
    const Call call = TheCall(procedure);
    std::vector<std::byte> request;
    WriteRequest(procedure, golden.syntax, call, request);
    EXPECT_EQ(ToHex(request), ToHex(FromHex(golden.request)));
    std::vector<std::byte> response;
    WriteResponse(procedure, golden.syntax, call, response);
    EXPECT_EQ(ToHex(response), ToHex(FromHex(golden.response)));

    Call received;
    ASSERT_EQ(ReadRequest(procedure, golden.syntax, FromHex(golden.request), received), 0u);
    ExpectSameArguments(procedure, Direction::Out, received, call);
    ASSERT_EQ(ReadResponse(procedure, golden.syntax, FromHex(golden.response), received), 0u);
    ExpectSameArguments(procedure, Direction::In, received, call);
    EXPECT_EQ(received.result, kResult);
  }
}

TEST(Ndr, EveryTruncationIsBadStubData) {
  for (const Golden& golden : kGolden) {
    const Procedure& procedure = kProcedures[golden.procedure];
    const auto request = FromHex(golden.request);
    const auto response = FromHex(golden.response);
    Call call;
    for (std::size_t length = 0; length < request.size(); ++length) {
      const std::vector<std::byte> cut(request.begin(), request.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(ReadRequest(procedure, golden.syntax, cut, call), kFaultBadStubData) << procedure.name << length;
    }
    for (std::size_t length = 0; length < response.size(); ++length) {
      const std::vector<std::byte> cut(response.begin(), response.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(ReadResponse(procedure, golden.syntax, cut, call), kFaultBadStubData) << procedure.name << length;
    }
  }
}

TEST(Ndr, StringsThatAreBadStubData) {
  constexpr Parameter kText[] = {{"text", ParameterKind::WideString, Direction::In}};
  const Procedure procedure{"text", false, kText};
  const struct {
    const char* name;
    const char* ndr;
    const char* ndr64;
    bool good;
  } cases[] = {
      {"good", "02 00 00 00  00 00 00 00  02 00 00 00  61 00 00 00",
       "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00", true},
      {"room to spare", "09 00 00 00  00 00 00 00  02 00 00 00  61 00 00 00",
       "09 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00", true},
      {"padded at the end", "02 00 00 00  00 00 00 00  02 00 00 00  61 00 00 00  00 00 00 00",
       "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00  00 00 00 00", true},
      {"more at the end", "02 00 00 00  00 00 00 00  02 00 00 00  61 00 00 00  00 00 00 00 00 00 00 00",
       "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00  00 00 00 00 00 00 00 "
       "00",
       false},
      {"not from the start", "03 00 00 00  01 00 00 00  02 00 00 00  61 00 00 00",
       "03 00 00 00 00 00 00 00  01 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00", false},
      {"more than its room", "01 00 00 00  00 00 00 00  02 00 00 00  61 00 00 00",
       "01 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 00 00", false},
      {"no terminator", "02 00 00 00  00 00 00 00  02 00 00 00  61 00 62 00",
       "02 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00  61 00 62 00", false},
      {"zero within", "03 00 00 00  00 00 00 00  03 00 00 00  61 00 00 00 00 00",
       "03 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  03 00 00 00 00 00 00 00  61 00 00 00 00 00", false},
      {"nothing at all", "00 00 00 00  00 00 00 00  00 00 00 00",
       "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00", false},
      {"count beyond all bounds", "ff ff ff ff  00 00 00 00  ff ff ff ff  61 00 00 00",
       "ff ff ff ff ff ff ff ff  00 00 00 00 00 00 00 00  ff ff ff ff ff ff ff ff  61 00 00 00", false},
      {"count that wraps when doubled", "01 00 00 80  00 00 00 00  01 00 00 80  00 00",
       "01 00 00 00 00 00 00 80  00 00 00 00 00 00 00 00  01 00 00 00 00 00 00 80  00 00", false},
  };
  for (const auto& testCase : cases) {
    for (const auto& [syntax, hex] : {std::pair(Syntax::Ndr, testCase.ndr), std::pair(Syntax::Ndr64, testCase.ndr64)}) {
      Call call;
      EXPECT_EQ(ReadRequest(procedure, syntax, FromHex(hex), call), testCase.good ? 0 : kFaultBadStubData)
          << testCase.name;
      EXPECT_TRUE(!testCase.good || call.arguments[0].text == u"a") << testCase.name;
    }
  }
}

}  // namespace
}  // namespace host::rpc
