// Who a client is, which endpoints it may use, and acting as it.
#include <sys/socket.h>

#include <thread>
#include <utility>
#include <vector>

#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/rpc/client_identity.h"
#include "platform/host/rpc/server_status.h"
#include "platform/memory.h"
#include "platform/security.h"
#include "tests/rpc/hex.h"
#include "tests/rpc/server_fixture.h"

using namespace host::rpc;
using host::TokenFacts;

namespace {

constexpr const char* kGuarded = "Guarded";

TokenFacts Numbered(std::uint32_t number) {
  return TokenFacts{"S-1-5-21-7-7-7-" + std::to_string(number), number};
}

TokenFacts Contained(std::vector<std::string> capabilities) {
  return TokenFacts{"S-1-5-21-7-7-7-1", 1, false, "Package", true, std::move(capabilities)};
}

// A connection that counts as one of a process with that token.
RawClient ConnectionOf(const TokenFacts& who, const std::string& endpoint = kTestEndpoint) {
  const ClientIdentityScope scope(who);
  return RawClient(endpoint);
}

std::vector<std::byte> BindBytes(PduType type) {
  BindPdu bind;
  bind.contexts.push_back({0, {kTestInterface.uuid, 1, 0}, {kNdrSyntax}});
  Bytes bytes;
  AppendBind(type, 1, bind, bytes);
  return bytes;
}

// Everything the server sends until it closes.
std::vector<std::byte> ReadToEnd(const RawClient& client) {
  std::vector<std::byte> all;
  std::byte part[4096];
  for (ssize_t size = 0; (size = recv(client.socket(), part, sizeof(part), 0)) > 0;) {
    all.insert(all.end(), part, part + size);
  }
  return all;
}

class Descriptor {
 public:
  explicit Descriptor(const char16_t* sddl) {
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl, SDDL_REVISION_1, &descriptor_, nullptr));
  }
  ~Descriptor() { LocalFree(descriptor_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  PSECURITY_DESCRIPTOR get() const { return descriptor_; }

 private:
  PSECURITY_DESCRIPTOR descriptor_ = nullptr;
};

class ServerIdentity : public ServerFixture {
 protected:
  void OpenEndpoint(std::u16string name, const char16_t* sddl) {
    WCHAR protocol[] = u"ncalrpc";
    EXPECT_EQ(RpcServerUseProtseqEpW(protocol, 10, name.data(), Descriptor(sddl).get()), RPC_S_OK);
  }
};

TEST_F(ServerIdentity, TheEndpointsDescriptorDecidesWhoGetsIn) {
  OpenEndpoint(u"Guarded", u"D:(A;;GA;;;WD)(A;;GA;;;S-1-15-3-5)");
  OpenEndpoint(u"Closed", u"D:(A;;GA;;;WD)");
  OpenEndpoint(u"ReadOnly", u"D:(A;;GR;;;WD)");
  const struct {
    const char* endpoint;
    TokenFacts who;
    bool admitted;
  } cases[] = {
      {kGuarded, Numbered(1), true},
      {kGuarded, Contained({}), false},
      {kGuarded, Contained({"S-1-15-3-4"}), false},
      {kGuarded, Contained({"S-1-15-3-4", "S-1-15-3-5"}), true},
      {"Closed", Numbered(1), true},
      {"Closed", host::SystemToken(), true},
      {"Closed", Contained({"S-1-15-3-5"}), false},
      {"ReadOnly", Numbered(1), false},
      {kTestEndpoint, Numbered(1), true},
      {kTestEndpoint, Contained({"S-1-15-3-5"}), false},
  };
  for (const auto& each : cases) {
    auto client = ConnectionOf(each.who, each.endpoint);
    ASSERT_TRUE(client.valid());
    EXPECT_EQ(client.Bind(kTestInterface) != 0, each.admitted)
        << each.endpoint << " " << each.who.userSid << " " << each.who.capabilities.size();
  }
}

TEST_F(ServerIdentity, TheInterfacesDescriptorDecidesWhoCalls) {
  OpenEndpoint(u"Guarded", u"D:(A;;GA;;;WD)(A;;GA;;;S-1-15-3-5)(A;;GA;;;S-1-15-3-6)");
  const Descriptor forTheFifth(u"D:(A;;GA;;;WD)(A;;GA;;;S-1-15-3-5)");
  ASSERT_EQ(RpcServerRegisterIf3(Handle(kOtherInterface), nullptr, nullptr, 0x21, 10, 0, nullptr, forTheFifth.get()),
            RPC_S_OK);
  const struct {
    TokenFacts who;
    const InterfaceDescription& interface;
    std::uint32_t fault;
  } cases[] = {
      {Numbered(1), kOtherInterface, 0},
      {Contained({"S-1-15-3-5"}), kOtherInterface, 0},
      {Contained({"S-1-15-3-6"}), kOtherInterface, kFaultAccessDenied},
      {Numbered(1), kTestInterface, 0},
      {Contained({"S-1-15-3-5"}), kTestInterface, kFaultAccessDenied},  // without a descriptor
  };
  for (const auto& each : cases) {
    auto client = ConnectionOf(each.who, kGuarded);
    ASSERT_NE(client.Bind(each.interface), 0u);
    Bytes bytes;
    RequestPdu request;
    request.procedure = &each.interface == &kTestInterface ? kWork : 0;
    const std::byte number[4] = {};
    request.stub = number;
    AppendRequest(7, request, kMaxFragment, bytes);
    ASSERT_TRUE(client.Send(bytes));
    const auto reply = client.Receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->fault, each.fault) << each.who.userSid << " " << each.who.capabilities.size();
  }
  EXPECT_EQ(RpcServerUnregisterIf(Handle(kOtherInterface), nullptr, TRUE), RPC_S_OK);
}

TEST_F(ServerIdentity, ARefusalIsOneFaultAndTheEnd) {
  OpenEndpoint(u"Guarded", u"D:(A;;GA;;;WD)");
  const auto expected = FromHex(
      "05 00 03 23 10 00 00 00  20 00 00 00 01 00 00 00"  // fault: first, last, did not execute; call 1
      "00 00 00 00 00 00 00 00  05 00 00 00 00 00 00 00");
  Bytes request;
  AppendRequest(1, RequestPdu{}, kMaxFragment, request);
  for (const auto& first : {BindBytes(PduType::Bind), BindBytes(PduType::AlterContext), request}) {
    auto client = ConnectionOf(Contained({}), kGuarded);
    ASSERT_TRUE(client.Send(first));
    EXPECT_EQ(ToHex(ReadToEnd(client)), ToHex(expected));
  }
  EXPECT_TRUE(Eventually([] { return ConnectionCount() == 0; }));
  auto admitted = ConnectionOf(Numbered(1), kGuarded);
  EXPECT_NE(admitted.Bind(kTestInterface), 0u);
}

// The routine's thread as its client: the user's number, which is the session's too, or 0.
std::uint32_t NumberWhileImpersonating() {
  EXPECT_EQ(host::ThreadToken(), nullptr);
  EXPECT_EQ(RpcImpersonateClient(nullptr), RPC_S_OK);
  const auto token = host::ThreadToken();
  EXPECT_EQ(RpcRevertToSelfEx(nullptr), RPC_S_OK);
  EXPECT_EQ(host::ThreadToken(), nullptr);
  return token && token->userSid == Numbered(token->session).userSid ? token->session : 0;
}

TEST_F(ServerIdentity, EachCallIsItsOwnClients) {
  server_.use = [](std::uint32_t) { return NumberWhileImpersonating(); };
  std::vector<std::thread> threads;
  for (std::uint32_t number = 1; number <= 8; ++number) {
    threads.emplace_back([number] {
      auto client = ConnectionOf(Numbered(number));
      ASSERT_NE(client.Bind(kTestInterface), 0u);
      for (int i = 0; i < 50; ++i) EXPECT_EQ(client.Work(0).number, number);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(host::LeftoverImpersonations(), 0u);
}

TEST_F(ServerIdentity, ANamedClientIsFoundOnceAndAnUnnamedOneIsThisProcess) {
  server_.use = [](std::uint32_t) {
    EXPECT_EQ(RpcImpersonateClient(nullptr), RPC_S_OK);
    const auto session = host::ThreadToken()->session;
    EXPECT_EQ(RpcRevertToSelfEx(nullptr), RPC_S_OK);
    return session;
  };
  auto seven = ConnectionOf(Numbered(7));
  auto plain = Connect();
  ASSERT_NE(seven.Bind(kTestInterface), 0u);
  {
    const ClientIdentityScope nine(Numbered(9));
    EXPECT_EQ(seven.Work(0).number, 7u) << "a connection stays whose it was";
    const ClientIdentityScope ten(Numbered(10));
    auto inner = ConnectionOf(Numbered(11));
    ASSERT_NE(inner.Bind(kTestInterface), 0u);
    EXPECT_EQ(inner.Work(0).number, 11u);
    EXPECT_EQ(ClientIdentityScope::Current()->session, 10u);
  }
  EXPECT_EQ(ClientIdentityScope::Current(), nullptr);
  EXPECT_EQ(plain.Work(0).number, 0u) << "from outside the machine";
}

TEST_F(ServerIdentity, AnImpersonationLeftBehindEndsWithItsRoutine) {
  server_.use = [](std::uint32_t how) {
    EXPECT_EQ(host::ThreadToken(), nullptr);
    EXPECT_EQ(RpcImpersonateClient(nullptr), RPC_S_OK);
    if (how == 1) RpcRaiseException(RPC_S_CALL_FAILED);
    return how;
  };
  auto client = ConnectionOf(Numbered(1));
  ASSERT_NE(client.Bind(kTestInterface), 0u);
  for (std::uint32_t i = 0; i < 6; ++i) client.Work(i % 2);
  EXPECT_TRUE(Eventually([] { return host::LeftoverImpersonations() == 6; }));
}

TEST_F(ServerIdentity, OutsideACallThereIsNobodyToActAs) {
  EXPECT_EQ(RpcImpersonateClient(nullptr), RPC_S_NO_CALL_ACTIVE);
  EXPECT_EQ(RpcRevertToSelfEx(nullptr), RPC_S_NO_CALL_ACTIVE);
  server_.use = [](std::uint32_t) {
    host::FailCall("RpcImpersonateClient", 1, 1234);
    EXPECT_EQ(RpcImpersonateClient(nullptr), 1234);
    EXPECT_EQ(host::ThreadToken(), nullptr);
    EXPECT_EQ(RpcImpersonateClient(nullptr), RPC_S_OK);
    host::FailCall("RpcRevertToSelfEx", 1, 1235);
    EXPECT_EQ(RpcRevertToSelfEx(nullptr), 1235);
    EXPECT_NE(host::ThreadToken(), nullptr) << "a revert that failed changes nothing";
    EXPECT_EQ(RpcRevertToSelfEx(nullptr), RPC_S_OK);
    EXPECT_EQ(RpcRevertToSelfEx(nullptr), RPC_S_OK) << "nothing to end is no failure";
    return 0u;
  };
  EXPECT_EQ(Connect().Work(0).fault, 0u);
}

}  // namespace
