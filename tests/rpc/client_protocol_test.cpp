// The client runtime against servers of bytes: what it sends, and what it makes of any answer.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <future>

#include "platform/host/base/machine_directory.h"
#include "platform/host/rpc/pdu_parse.h"
#include "platform/rpc_client.h"
#include "platform/rpc_interface.h"
#include "tests/rpc/hex.h"
#include "tests/rpc/scripted_server.h"

namespace {

using host::rpc::Bytes;

constexpr const char* kNullTokenAndZero = "00000000 00000000 00000000 00000000 00000000  00 00 00 00";
constexpr const char* kTokenAndZero = "00000000 01020304 05060708 090a0b0c 0d0e0f10  00 00 00 00";

class ClientProtocolTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = (std::filesystem::temp_directory_path() / "hkd-rpc-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    host::UseMachineDirectory(folder);
    std::filesystem::create_directories(host::CurrentMachineDirectory().runtime + "/ncalrpc");
    WCHAR text[] = u"ncalrpc:[Scripted]";
    ASSERT_EQ(RpcBindingFromStringBindingW(text, &binding_), RPC_S_OK);
  }
  void TearDown() override {
    FreeBinding();
    std::filesystem::remove_all(folder_);
  }
  void FreeBinding() {
    if (binding_ != nullptr) RpcBindingFree(&binding_);
  }

  // Procedure 7, which has a result only.
  RPC_STATUS CallUnregister(HRESULT* result = nullptr) {
    HRESULT ignored = 0;
    return CatchRpcException([&] {
      *(result != nullptr ? result : &ignored) =
          Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(binding_, u"ab", 1, 2, 3);
    });
  }

  RPC_BINDING_HANDLE binding_ = nullptr;

 private:
  std::string folder_;
};

// Ends a script: serves nothing more until the client closes.
void AwaitClose(ScriptedConnection& connection) {
  while (connection.Receive()) {
  }
}

Bytes Fault(std::uint32_t callId, std::uint32_t status) {
  Bytes bytes;
  host::rpc::AppendFault(callId, {0, 0, status}, 0, bytes);
  return bytes;
}

TEST_F(ClientProtocolTest, BindAndRequestAsBytes) {
  std::string bind;
  std::string request;
  HRESULT result = 0;
  {
    const ScriptedServer server(
        "Scripted", {[&](ScriptedConnection& connection) {
          // NDR64 accepted, NDR refused, both features acknowledged.
          bind = ToHex(connection.Receive()->bytes);
          connection.Send(
              FromHex("05 00 0c 03 10 00 00 00 68 00 00 00 01 00 00 00  d0 16 d0 16 01 00 00 00  00 00 00 00"
                      "03 00 00 00"
                      "02 00 02 00  00000000 00000000 00000000 00000000  00 00 00 00"
                      "00 00 00 00  33 05 71 71 ba be 37 49 83 19 b5 db ef 9c cc 36  01 00 00 00"
                      "03 00 03 00  00000000 00000000 00000000 00000000  00 00 00 00"));
          request = ToHex(connection.Receive()->bytes);
          connection.Send(
              FromHex("05 00 02 03 10 00 00 00 1c 00 00 00 02 00 00 00  04 00 00 00 01 00 00 00  57 00 07 80"));
          AwaitClose(connection);
        }});
    EXPECT_EQ(CallUnregister(&result), RPC_S_OK);
    FreeBinding();
  }
  EXPECT_EQ(result, static_cast<HRESULT>(0x80070057));
  EXPECT_EQ(bind, ToHex(FromHex("05 00 0b 13 10 00 00 00 a0 00 00 00 01 00 00 00  d0 16 d0 16 00 00 00 00  03 00 00 00"
                                "00 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
                                "             04 5d 88 8a eb 1c c9 11 9f e8 08 00 2b 10 48 60  02 00 00 00"
                                "01 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
                                "             33 05 71 71 ba be 37 49 83 19 b5 db ef 9c cc 36  01 00 00 00"
                                "02 00 01 00  24 ee 4d 66 e1 d6 2e 41 b1 5d 31 f8 a4 d0 48 76  01 00 00 00"
                                "             2c 1c b7 6c 12 98 40 45 03 00 00 00 00 00 00 00  01 00 00 00")));
  EXPECT_EQ(request, ToHex(FromHex("05 00 00 03 10 00 00 00 44 00 00 00 02 00 00 00  2c 00 00 00 01 00 07 00"
                                   "03 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  03 00 00 00 00 00 00 00"
                                   "61 00 62 00 00 00  00 00  01 00 00 00 02 00 00 00 03 00 00 00")));
}

TEST_F(ClientProtocolTest, AnswersToTheBind) {
  const struct {
    const char* name;
    const char* answer;  // empty: the connection is closed
    RPC_STATUS status;
  } cases[] = {
      {"closed", "", RPC_S_SERVER_UNAVAILABLE},
      {"nak, version", "05 00 0d 03 10 00 00 00 17 00 00 00 01 00 00 00 04 00 02 05 00 05 01", RPC_S_PROTOCOL_ERROR},
      {"nak, local limit", "05 00 0d 03 10 00 00 00 17 00 00 00 01 00 00 00 02 00 02 05 00 05 01",
       RPC_S_SERVER_TOO_BUSY},
      {"fault, access denied",
       "05 00 03 03 10 00 00 00 20 00 00 00 01 00 00 00  00000000 00 00 00 00  05 00 00 00 00 00 00 00",
       RPC_S_ACCESS_DENIED},
      {"unknown interface",
       "05 00 0c 03 10 00 00 00 68 00 00 00 01 00 00 00  d0 16 d0 16 01 00 00 00  00 00 00 00  03 00 00 00"
       "02 00 01 00  00000000 00000000 00000000 00000000  00000000"
       "02 00 01 00  00000000 00000000 00000000 00000000  00000000"
       "03 00 00 00  00000000 00000000 00000000 00000000  00000000",
       RPC_S_UNKNOWN_IF},
      {"no common syntax",
       "05 00 0c 03 10 00 00 00 68 00 00 00 01 00 00 00  d0 16 d0 16 01 00 00 00  00 00 00 00  03 00 00 00"
       "02 00 02 00  00000000 00000000 00000000 00000000  00000000"
       "02 00 02 00  00000000 00000000 00000000 00000000  00000000"
       "02 00 02 00  00000000 00000000 00000000 00000000  00000000",
       RPC_S_UNSUPPORTED_TRANS_SYN},
      {"too few results",
       "05 00 0c 03 10 00 00 00 38 00 00 00 01 00 00 00  d0 16 d0 16 01 00 00 00  00 00 00 00  01 00 00 00"
       "00 00 00 00  33 05 71 71 ba be 37 49 83 19 b5 db ef 9c cc 36  01 00 00 00",
       RPC_S_PROTOCOL_ERROR},
      {"another call's", "05 00 0d 03 10 00 00 00 17 00 00 00 02 00 00 00 02 00 02 05 00 05 01", RPC_S_PROTOCOL_ERROR},
      {"no PDU", "48 54 54 50 2f 31 2e 31 20 34 30 30 0d 0a 0d 0a", RPC_S_PROTOCOL_ERROR},
  };
  for (const auto& testCase : cases) {
    const ScriptedServer server("Scripted", {[&](ScriptedConnection& connection) {
                                  connection.Receive();
                                  connection.Send(FromHex(testCase.answer));
                                }});
    EXPECT_EQ(CallUnregister(), testCase.status) << testCase.name;
  }
}

TEST_F(ClientProtocolTest, FaultsAsStatus) {
  const struct {
    std::uint32_t fault;
    RPC_STATUS status;
  } cases[] = {
      {0x1C010002, 1745},
      {0x1C010003, 1717},
      {0x1C01000B, 1728},
      {0x1C010014, 1723},
      {0x1C00000D, 1818},
      {0x1C00001A, 6},
      {0x1C00001C, 1728},
      {0x1C000012, 1726},
      {0x6F7, 1783},
      {5, 5},
      {87, 87},
      {0, 1726},
      {0x800706FF, static_cast<RPC_STATUS>(0x800706FF)},
  };
  const ScriptedServer server("Scripted", {[&](ScriptedConnection& connection) {
                                connection.AcceptBind();
                                for (const auto& testCase : cases) {
                                  const auto request = connection.Receive();
                                  if (!request) return;
                                  connection.Send(Fault(request->header.callId, testCase.fault));
                                }
                                AwaitClose(connection);
                              }});
  for (const auto& testCase : cases) EXPECT_EQ(CallUnregister(), testCase.status) << std::hex << testCase.fault;
  FreeBinding();
}

// Ends the call with RPC_S_CALL_FAILED, or the one given; the call after it goes over a new connection.
TEST_F(ClientProtocolTest, AnswersToARequest) {
  const struct {
    const char* name;
    const char* answer;  // empty: the connection is closed
    RPC_STATUS status;
    bool connectionStays;
  } cases[] = {
      {"closed", "", RPC_S_CALL_FAILED, false},
      {"no PDU", "48 54 54 50 2f 31 2e 31 20 34 30 30 0d 0a 0d 0a", RPC_S_CALL_FAILED, false},
      {"a request", "05 00 00 03 10 00 00 00 18 00 00 00 02 00 00 00  00 00 00 00 00 00 00 00", RPC_S_CALL_FAILED,
       false},
      {"last fragment only", "05 00 02 02 10 00 00 00 1c 00 00 00 02 00 00 00  04 00 00 00 00 00 00 00  00000000",
       RPC_S_CALL_FAILED, false},
      {"cut fault", "05 00 03 03 10 00 00 00 18 00 00 00 02 00 00 00  00 00 00 00 00 00 00 00", RPC_S_CALL_FAILED,
       false},
      {"no result in it", "05 00 02 03 10 00 00 00 1a 00 00 00 02 00 00 00  02 00 00 00 00 00 00 00  0000",
       RPC_X_BAD_STUB_DATA, true},
      {"too much in it",
       "05 00 02 03 10 00 00 00 24 00 00 00 02 00 00 00  0c 00 00 00 00 00 00 00  00000000 00000000 00000000",
       RPC_X_BAD_STUB_DATA, true},
      {"another call's before it",
       "05 00 02 03 10 00 00 00 1c 00 00 00 63 00 00 00  04 00 00 00 00 00 00 00  01000000"
       "05 00 03 03 10 00 00 00 20 00 00 00 64 00 00 00  00000000 00000000  05000000 00000000"
       "05 00 02 03 10 00 00 00 1c 00 00 00 02 00 00 00  04 00 00 00 00 00 00 00  00000000",
       RPC_S_OK, true},
      {"byte by byte in two fragments",
       "05 00 02 01 10 00 00 00 1a 00 00 00 02 00 00 00  04 00 00 00 00 00 00 00  0000"
       "05 00 02 02 10 00 00 00 1a 00 00 00 02 00 00 00  02 00 00 00 00 00 00 00  0000",
       RPC_S_OK, true},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    const auto answer = [&](ScriptedConnection& connection) {
      connection.AcceptBind();
      connection.Receive();
      for (const std::byte& byte : FromHex(testCase.answer)) connection.Send(std::span(&byte, 1));
    };
    const auto serve = [](ScriptedConnection& connection) {
      while (const auto request = connection.Receive()) {
        connection.Respond(request->header.callId, FromHex("02 00 00 00"));
      }
    };
    HRESULT result = 0;
    const ScriptedServer server("Scripted", {[&](ScriptedConnection& connection) {
                                               answer(connection);
                                               if (testCase.connectionStays) serve(connection);
                                             },
                                             [&](ScriptedConnection& connection) {
                                               connection.AcceptBind();
                                               serve(connection);
                                             }});
    EXPECT_EQ(CallUnregister(&result), testCase.status);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(CallUnregister(&result), RPC_S_OK);
    EXPECT_EQ(result, 2);
    FreeBinding();
    WCHAR text[] = u"ncalrpc:[Scripted]";
    ASSERT_EQ(RpcBindingFromStringBindingW(text, &binding_), RPC_S_OK);
  }
}

// Several calls pending when the server goes: all end, each with the same status.
TEST_F(ClientProtocolTest, ALostConnectionEndsEveryPendingCall) {
  std::promise<void> received;
  const ScriptedServer server("Scripted", {[&](ScriptedConnection& connection) {
                                connection.AcceptBind();
                                connection.Respond(connection.Receive()->header.callId, FromHex(kTokenAndZero));
                                connection.Receive();
                                connection.Receive();
                                received.set_value();
                              }});
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Client_Hkd04a7Rpc_EventNotify_Create(binding_, &subscription), 0);
  RPC_ASYNC_STATE states[2];
  Hkd04a7Rpc_EventRecord records[2] = {{7, 7, 7}, {7, 7, 7}};
  for (int i = 0; i < 2; ++i) {
    RpcAsyncInitializeHandle(&states[i], sizeof(states[i]));
    Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&states[i], subscription, &records[i]);
  }
  received.get_future().wait();
  for (int i = 0; i < 2; ++i) {
    HRESULT result = 3;
    RPC_STATUS status = RPC_S_CALL_IN_PROGRESS;
    while (status == RPC_S_CALL_IN_PROGRESS) status = RpcAsyncCompleteCall(&states[i], &result);
    EXPECT_EQ(status, RPC_S_CALL_FAILED);
    EXPECT_EQ(result, 3);
    EXPECT_EQ(records[i].eventId, 7u);
  }
  RpcSsDestroyClientContext(&subscription);
}

// Requests that the server does not read yet hold up nobody, and none is lost.
TEST_F(ClientProtocolTest, RequestsQueueUpBehindAServerThatDoesNotRead) {
  constexpr std::size_t kCalls = 10000;  // more than a socket holds
  std::promise<void> sent;
  const ScriptedServer server("Scripted", {[&](ScriptedConnection& connection) {
                                connection.AcceptBind();
                                connection.Respond(connection.Receive()->header.callId, FromHex(kTokenAndZero));
                                sent.get_future().wait();
                                while (const auto request = connection.Receive()) {
                                  const bool destroys = request->bytes[22] == std::byte{4};
                                  connection.Respond(
                                      request->header.callId,
                                      FromHex(destroys ? kNullTokenAndZero : "01000000 02000000 03000000 00000000"));
                                }
                              }});
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Client_Hkd04a7Rpc_EventNotify_Create(binding_, &subscription), 0);
  std::vector<RPC_ASYNC_STATE> states(kCalls);
  std::vector<Hkd04a7Rpc_EventRecord> records(kCalls);
  for (std::size_t i = 0; i < kCalls; ++i) {
    RpcAsyncInitializeHandle(&states[i], sizeof(states[i]));
    Client_Hkd04a7Rpc_EventNotify_WaitEventAsync(&states[i], subscription, &records[i]);
  }
  sent.set_value();
  EXPECT_EQ(Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription), 0);
  std::size_t good = 0;
  for (std::size_t i = 0; i < kCalls; ++i) {
    HRESULT result = -1;
    good += RpcAsyncCompleteCall(&states[i], &result) == RPC_S_OK && result == 0 && records[i].data2 == 3;
  }
  EXPECT_EQ(good, kCalls);
  FreeBinding();
}

}  // namespace
