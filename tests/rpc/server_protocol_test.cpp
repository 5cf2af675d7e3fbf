// What the server makes of binds. Of what is not the protocol: hostile_clients_test.cpp.
#include "tests/rpc/server_fixture.h"

using namespace host::rpc;

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

}  // namespace
