// What the server makes of binds and of bytes that are not what the protocol says.
#include <thread>

#include "tests/rpc/server_fixture.h"

using namespace host::rpc;
using namespace std::chrono_literals;

namespace {

using ServerProtocol = ServerFixture;

SyntaxId IdOf(const InterfaceDescription& interface) {
  return {interface.uuid, interface.majorVersion, interface.minorVersion};
}

std::optional<RawReply> BindWith(RawClient& client, std::vector<ContextElement> elements,
                                 PduType type = PduType::Bind) {
  BindPdu bind;
  bind.contexts = std::move(elements);
  Bytes bytes;
  AppendBind(type, 7, bind, bytes);
  client.Send(bytes);
  return client.Receive();
}

TEST_F(ServerProtocol, NegotiationByTable) {
  const SyntaxId test = IdOf(kTestInterface);
  const SyntaxId older{test.uuid, 1, 0};
  const SyntaxId newer{test.uuid, 1, 3};
  const SyntaxId otherMajor{test.uuid, 2, 0};
  const SyntaxId unknownSyntax{{1, 2, 3, {4}}, 1, 0};
  using Result = std::pair<std::uint16_t, std::uint16_t>;
  const struct {
    const char* what;
    std::vector<ContextElement> elements;
    std::vector<Result> results;
  } cases[] = {
      {"NDR", {{0, test, {kNdrSyntax}}}, {{0, 0}}},
      {"both, NDR first", {{0, test, {kNdrSyntax}}, {1, test, {kNdr64Syntax}}}, {{2, 2}, {0, 0}}},
      {"both in one element", {{0, test, {kNdrSyntax, kNdr64Syntax}}}, {{0, 0}}},
      {"as Windows clients do",
       {{0, test, {kNdrSyntax}}, {1, test, {kNdr64Syntax}}, {2, test, {FeatureSyntax(0x03)}}},
       {{2, 2}, {0, 0}, {3, 3}}},
      {"features we do not know", {{0, test, {kNdrSyntax}}, {1, test, {FeatureSyntax(0xFF)}}}, {{0, 0}, {3, 3}}},
      {"older minor version", {{0, older, {kNdrSyntax}}}, {{0, 0}}},
      {"newer minor version", {{0, newer, {kNdrSyntax}}}, {{2, 1}}},
      {"another major version", {{0, otherMajor, {kNdrSyntax}}}, {{2, 1}}},
      {"unknown transfer syntax", {{0, test, {unknownSyntax}}}, {{2, 2}}},
      {"not registered", {{0, IdOf(kOtherInterface), {kNdrSyntax}}}, {{2, 1}}},
  };
  for (const auto& each : cases) {
    RawClient client(kTestEndpoint);
    const auto reply = BindWith(client, each.elements);
    ASSERT_TRUE(reply) << each.what;
    std::vector<Result> results;
    for (const auto& result : reply->ack.results) results.emplace_back(result.result, result.reason);
    EXPECT_EQ(results, each.results) << each.what;
    EXPECT_EQ(reply->ack.secondaryAddress, kTestEndpoint);
  }
}

TEST_F(ServerProtocol, AlterContextAddsAnInterface) {
  ASSERT_EQ(RpcServerRegisterIf3(Handle(kOtherInterface), nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                                 10, 0, nullptr, nullptr),
            RPC_S_OK);
  auto client = Connect();
  const auto reply = BindWith(client, {{5, IdOf(kOtherInterface), {kNdrSyntax}}}, PduType::AlterContext);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->header.type, PduType::AlterContextResponse);
  ASSERT_EQ(reply->ack.results.size(), 1u);
  EXPECT_EQ(reply->ack.results[0].result, kResultAccepted);
  Call call;
  call.arguments.resize(3);
  call.arguments[1].number = 31;
  Bytes stub;
  WriteRequest(kOtherInterface.procedures[0], Syntax::Ndr, call, stub);
  RequestPdu request;
  request.contextId = 5;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(88, request, kMaxFragment, bytes);
  client.Send(bytes);
  const auto answer = client.Receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(ReadResponse(kOtherInterface.procedures[0], Syntax::Ndr, answer->stub, call), 0u);
  EXPECT_EQ(call.arguments[2].number, 31u);
  EXPECT_EQ(client.Work(5).number, 5u) << "the first context goes on";
  EXPECT_EQ(RpcServerUnregisterIf(Handle(kOtherInterface), nullptr, TRUE), RPC_S_OK);
}

TEST_F(ServerProtocol, RequestsThatCannotBeRunAreFaults) {
  auto client = Connect();
  const auto send = [&](std::uint16_t context, std::uint16_t procedure, std::size_t size) {
    const Bytes stub(size);
    RequestPdu request;
    request.contextId = context;
    request.procedure = procedure;
    request.stub = stub;
    Bytes bytes;
    AppendRequest(60, request, kMaxFragment, bytes);
    client.Send(bytes);
    const auto reply = client.Receive();
    if (!reply) return 0u;
    EXPECT_NE(reply->header.flags & kDidNotExecute, 0);
    return reply->fault;
  };
  EXPECT_EQ(send(9, kWork, 4), kFaultBadPresentationContext);
  EXPECT_EQ(send(0, kTestProcedureCount, 4), kFaultProcedureOutOfRange);
  EXPECT_EQ(send(0, 0xFFFF, 4), kFaultProcedureOutOfRange);
  EXPECT_EQ(send(0, kWork, 3), kFaultBadStubData);
  EXPECT_EQ(send(0, kLength, 0), kFaultBadStubData);
  EXPECT_EQ(client.Work(5).number, 5u);
  RawClient unbound(kTestEndpoint);
  Bytes bytes;
  AppendRequest(1, {}, kMaxFragment, bytes);
  unbound.Send(bytes);
  const auto reply = unbound.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->fault, kFaultBadPresentationContext);
}

Bytes Pdu(std::uint8_t type, std::uint8_t flags, std::uint16_t length, Bytes body = {}, std::uint8_t version = 5) {
  Bytes bytes;
  for (const unsigned value : {unsigned{version}, 0u, unsigned{type}, unsigned{flags}, 0x10u, 0u, 0u, 0u,
                               length & 0xFFu, unsigned(length >> 8), 0u, 0u, 1u, 0u, 0u, 0u}) {
    bytes.push_back(static_cast<std::byte>(value));
  }
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

// Whatever it is, that connection ends and the others go on.
TEST_F(ServerProtocol, MalformedBytesEndTheirConnectionOnly) {
  auto witness = Connect();
  Bytes secondBind;
  BindPdu bind;
  bind.contexts.push_back({0, IdOf(kTestInterface), {kNdrSyntax}});
  AppendBind(PduType::Bind, 2, bind, secondBind);
  BindPdu unknownGroup = bind;
  unknownGroup.associationGroup = 0xDEADBEEF;
  Bytes foreignBind;
  AppendBind(PduType::Bind, 2, unknownGroup, foreignBind);
  Bytes alterFirst;
  AppendBind(PduType::AlterContext, 2, bind, alterFirst);
  const Bytes lastWithoutFirst = Pdu(0, kLastFragment, 24 + 8, Bytes(16));
  Bytes firstTwice = Pdu(0, kFirstFragment, 24 + 8, Bytes(16));
  const Bytes once = firstTwice;
  firstTwice.insert(firstTwice.end(), once.begin(), once.end());
  const struct {
    const char* what;
    bool bound;
    Bytes bytes;
  } cases[] = {
      {"zeros", true, Bytes(64)},
      {"wrong version", true, Pdu(0, kWholeMessage, 24, Bytes(8), 4)},
      {"bind of another version", false, Pdu(11, kWholeMessage, 28, Bytes(12), 4)},
      {"length below the header's", true, Pdu(0, kWholeMessage, 8)},
      {"length above the greatest", true, Pdu(0, kWholeMessage, 0xFFFF)},
      {"unknown type", true, Pdu(99, kWholeMessage, 16)},
      {"a server's PDU", true, Pdu(2, kWholeMessage, 24, Bytes(8))},
      {"second bind", true, secondBind},
      {"bind to a group that does not exist", false, foreignBind},
      {"alter_context before bind", false, alterFirst},
      {"last fragment without a first", true, lastWithoutFirst},
      {"first fragment twice", true, firstTwice},
  };
  for (const auto& each : cases) {
    RawClient client(kTestEndpoint);
    if (each.bound) {
      ASSERT_NE(client.Bind(kTestInterface), 0u);
    }
    ASSERT_TRUE(client.Send(each.bytes)) << each.what;
    EXPECT_TRUE(client.ClosedByServer()) << each.what;
    EXPECT_EQ(witness.Work(1).number, 1u) << each.what;
  }
}

TEST_F(ServerProtocol, CallNumbersInUseEndTheConnection) {
  auto client = Connect();
  const auto subscription = client.Open(kOpenSubscription).token;
  Call call;
  call.arguments.resize(2);
  call.arguments[0].token = subscription;
  client.SendCall(500, kWait, call);
  ASSERT_TRUE(Eventually([&] { return server_.PendingCount() == 1; }));
  client.SendCall(500, kWait, call);
  EXPECT_TRUE(client.ClosedByServer());
  EXPECT_EQ(server_.PendingCount(), 1u);
  EXPECT_TRUE(Eventually([&] {
    return RpcServerTestCancel(RpcAsyncGetCallHandle(server_.pending[0].state)) == RPC_S_OK;
  })) << "the first one lost its client like any other";
}

TEST_F(ServerProtocol, ARequestInTinyPiecesIsReadLikeAnyOther) {
  auto client = Connect();
  Call call;
  call.arguments.resize(3);
  call.arguments[1].number = 12;
  Bytes stub;
  WriteRequest(kTestInterface.procedures[kWork], Syntax::Ndr64, call, stub);
  RequestPdu request;
  request.procedure = kWork;
  request.stub = stub;
  Bytes bytes;
  AppendRequest(3, request, kMaxFragment, bytes);
  for (const std::byte& byte : bytes) {
    client.Send({&byte, 1});
    std::this_thread::sleep_for(1ms);
  }
  const auto reply = client.Receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(client.ReadAnswer(kWork, *reply).arguments[2].number, 12u);
}

}  // namespace
