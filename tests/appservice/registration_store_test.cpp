// Registrations as clients ask for them, and the user's registry hive afterwards.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "appservice/registration_keys.h"
#include "appservice/registration_store.h"
#include "common/handles.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/rpc/client_handshake.h"
#include "platform/rpc_client.h"
#include "tests/auth/requests.h"

using namespace request_test;
using namespace Quorvex::PC::Hkd04a7;
using Quorvex::PC::Common::UniqueRegistryKey;
using testing::ElementsAre;

namespace {

constexpr DWORD kOk = 0;
constexpr DWORD kOther = 1;
constexpr DWORD kNone = 0x80070002;
constexpr DWORD kAny = APPSERVICE_REG_ANY_DATA1;
constexpr DWORD kQuery = APPSERVICE_REG_QUERY;

class Registrations : public Requests {
 protected:
  void SetUp() override {
    Requests::SetUp();
    client = std::make_unique<support::RpcClient>(Bob());
  }

  DWORD Register(const WCHAR* package, const WideString& name, DWORD flags, DWORD eventId, DWORD data1 = 0) {
    HRESULT result = 0;
    const RPC_STATUS status = CatchRpcException([&] {
      result = Client_Hkd04a7Rpc_RegisterAppServiceForNotification(client->Binding(), package, name.c_str(), flags,
                                                                   eventId, data1);
    });
    return static_cast<DWORD>(status != RPC_S_OK ? status : result);
  }
  DWORD Unregister(const WCHAR* package, DWORD flags, DWORD eventId, DWORD data1 = 0) {
    HRESULT result = 0;
    const RPC_STATUS status = CatchRpcException([&] {
      result = Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(client->Binding(), package, flags, eventId, data1);
    });
    return static_cast<DWORD>(status != RPC_S_OK ? status : result);
  }

  // The path of a registration key of Bob's, or of another user's; `end` is the number or numbers.
  WideString Key(const WideString& end, const std::string& sid = {}) const {
    const std::string& user = sid.empty() ? BobSid() : sid;
    return WideString(user.begin(), user.end()) +
           W("\\Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService") +
           (end.empty() ? W("") : W("\\")) + end;
  }
  static bool Exists(const WideString& path) {
    UniqueRegistryKey key;
    return RegOpenKeyExW(HKEY_USERS, path.c_str(), 0, KEY_READ, key.Receive()) == ERROR_SUCCESS;
  }
  // The service name under the package's name, in its bytes with the terminator; none when there is no such text.
  static std::optional<WideString> Stored(const WideString& path, const WCHAR* package) {
    UniqueRegistryKey key;
    WCHAR text[300];
    DWORD size = sizeof(text);
    DWORD type = 0;
    if (RegOpenKeyExW(HKEY_USERS, path.c_str(), 0, KEY_READ, key.Receive()) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), package, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
      return std::nullopt;
    }
    return WideString(text, size / sizeof(WCHAR));
  }
  static WideString Text(WideString name) {
    name.push_back(0);
    return name;
  }

  std::unique_ptr<support::RpcClient> client;
};

TEST_F(Registrations, AreValuesOfTheEventsKeyInTheCallersHive) {
  EXPECT_EQ(Register(W("P"), W("first"), 0, 41, 5), kOk);
  EXPECT_EQ(Register(W("P"), W("any"), kAny, 41, 5), kOk);
  EXPECT_EQ(Register(W("P"), W("other bits mean nothing"), 0xFFFFFFFC, 41, 6), kOk);
  EXPECT_EQ(Stored(Key(W("41-5")), W("P")), Text(W("first")));
  EXPECT_EQ(Stored(Key(W("41")), W("P")), Text(W("any")));
  EXPECT_EQ(Stored(Key(W("41-6")), W("P")), Text(W("other bits mean nothing")));
  EXPECT_FALSE(Exists(Key(W(""), AdaSid())));
  EXPECT_EQ(Register(W("p"), W("second"), 0, 41, 5), kOk) << "replaces the name; value names have no letter case";
  EXPECT_EQ(Stored(Key(W("41-5")), W("P")), Text(W("second")));
  EXPECT_EQ(Register(W(""), W(""), kAny, 4294967295), kOk) << "the key's default value";
  EXPECT_EQ(Stored(Key(W("4294967295")), nullptr), Text(W("")));
  client = std::make_unique<support::RpcClient>(Ada());
  EXPECT_EQ(Register(W("P"), W("Ada's"), kAny, 41), kOk);
  EXPECT_EQ(Stored(Key(W("41"), AdaSid()), W("P")), Text(W("Ada's")));
  EXPECT_EQ(Stored(Key(W("41")), W("P")), Text(W("any")));
}

TEST_F(Registrations, AreMadeInEachTransferSyntax) {
  for (const bool ndr64 : {false, true}) {
    host::rpc::OfferTransferSyntaxes(!ndr64, ndr64);
    client = std::make_unique<support::RpcClient>(Bob());
    EXPECT_EQ(Register(W("P"), W("odd length"), 0, 0x80000001, 0xFFFFFFFF), kOk);
    EXPECT_EQ(Stored(Key(W("2147483649-4294967295")), W("P")), Text(W("odd length")));
    EXPECT_EQ(Unregister(W("P"), 0, 0x80000001, 0xFFFFFFFF), kOk);
    EXPECT_EQ(Unregister(W("P"), 0, 0x80000001, 0xFFFFFFFF), kNone);
  }
}

TEST_F(Registrations, AreAskedForWithoutBeingChanged) {
  EXPECT_EQ(Register(W("P"), W("Name"), kQuery | kAny, 7), kNone);
  EXPECT_FALSE(Exists(Key(W("")))) << "asking makes no key";
  EXPECT_EQ(Register(W("P"), W("Name"), kAny, 7), kOk);
  const struct {
    const WCHAR* package;
    WideString name;
    DWORD flags, data1, result;
  } cases[] = {
      {W("P"), W("Name"), kAny, 0, kOk},   {W("p"), W("Name"), kAny, 9, kOk},  {W("P"), W("name"), kAny, 0, kOther},
      {W("P"), W("Nam"), kAny, 0, kOther}, {W("P"), W(""), kAny, 0, kOther},   {W("P"), W("Name"), 0, 0, kNone},
      {W("Q"), W("Name"), kAny, 0, kNone}, {W(""), W("Name"), kAny, 0, kNone},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(Register(entry.package, entry.name, kQuery | entry.flags, 7, entry.data1), entry.result);
  }
  EXPECT_EQ(Stored(Key(W("7")), W("P")), Text(W("Name")));
}

TEST_F(Registrations, AreComparedUpToThirtyNineCharacters) {
  const WideString longest(39, 'n');
  const WideString tooLong(40, 'n');
  EXPECT_EQ(Register(W("P"), longest, kAny, 7), kOk);
  EXPECT_EQ(Register(W("P"), longest, kAny | kQuery, 7), kOk);
  EXPECT_EQ(Register(W("P"), tooLong, kAny | kQuery, 7), kOther);
  EXPECT_EQ(Register(W("P"), tooLong, kAny, 7), kOk);
  EXPECT_EQ(Register(W("P"), tooLong, kAny | kQuery, 7), 0x800700EAu);
  EXPECT_EQ(Stored(Key(W("7")), W("P")), Text(tooLong));
  const DWORD number = 1;
  ASSERT_EQ(RegSetKeyValueW(HKEY_USERS, Key(W("7")).c_str(), W("P"), REG_DWORD, &number, 4), ERROR_SUCCESS);
  EXPECT_EQ(Register(W("P"), W("x"), kAny | kQuery, 7), 0x8007065Eu) << "a value of another type";
}

TEST_F(Registrations, GoWithTheirKeyWhenTheyAreTheLast) {
  ASSERT_EQ(Unregister(W("P"), kAny, 7), kNone) << "no key";
  ASSERT_EQ(Register(W("P"), W("n"), kAny, 7), kOk);
  ASSERT_EQ(Register(W("Q"), W("n"), kAny, 7), kOk);
  ASSERT_EQ(Register(W("P"), W("n"), 0, 7, 3), kOk);
  EXPECT_EQ(Unregister(W("R"), kAny, 7), kNone) << "no value";
  EXPECT_EQ(Stored(Key(W("7")), W("P")), Text(W("n")));
  EXPECT_EQ(Unregister(W("P"), kAny, 7, 3), kOk);
  EXPECT_TRUE(Exists(Key(W("7")))) << "another registration is left";
  EXPECT_EQ(Stored(Key(W("7-3")), W("P")), Text(W("n"))) << "of the event-only key, never of the other";
  EXPECT_EQ(Unregister(W("q"), kAny | kQuery, 7), kOk) << "asking has no meaning here";
  EXPECT_FALSE(Exists(Key(W("7"))));
  EXPECT_EQ(Unregister(W("P"), 0, 7, 3), kOk);
  EXPECT_FALSE(Exists(Key(W("7-3"))));
  EXPECT_TRUE(Exists(Key(W("")))) << "the parents stay";
  EXPECT_EQ(Register(W(""), W("n"), kAny, 7), kOk);
  EXPECT_EQ(Unregister(W(""), kAny, 7), kOk) << "the default value like any other";
  EXPECT_FALSE(Exists(Key(W("7"))));
}

TEST_F(Registrations, NeedTheUserLoggedOn) {
  ASSERT_EQ(Register(W("P"), W("n"), kAny, 7), kOk);
  ASSERT_EQ(service.Machine().Call("session.logoff", {{"session", 2}}), 0u);
  EXPECT_EQ(Register(W("P"), W("n"), kAny, 7), kNone);
  EXPECT_EQ(Register(W("P"), W("n"), kAny | kQuery, 7), kNone);
  EXPECT_EQ(Unregister(W("P"), kAny, 7), kNone);
  ASSERT_EQ(service.Machine().Call("session.logon", {{"user", "bob"}, {"remote", true}}), 0u);
  EXPECT_EQ(Register(W("P"), W("n"), kAny | kQuery, 7), kOk) << "the registration has outlived the session";
}

TEST_F(Registrations, AreWrittenByTheServiceItself) {
  bool looked = false;
  host::AtCall("RegSetKeyValueW", [&] {
    looked = true;
    EXPECT_EQ(host::ThreadToken(), nullptr);
  });
  EXPECT_EQ(Register(W("P"), W("n"), kAny, 7), kOk);
  EXPECT_TRUE(looked);
}

TEST_F(Registrations, AreLoggedWithTheirResult) {
  Register(W("P"), W("n"), kAny | kQuery, 7);
  EXPECT_THAT(TakeLog(), ElementsAre("Hkd04a7Rpc_RegisterAppServiceForNotification enter\n", "exit hr=80070002h\n"));
  Unregister(W("P"), kAny, 7);
  EXPECT_THAT(TakeLog(), ElementsAre("Hkd04a7Rpc_UnregisterAppServiceForNotification enter\n", "exit hr=80070002h\n"));
}

TEST_F(Registrations, FailWithTheStepThatFailed) {
  const struct {
    const char* function;
    DWORD code;
    const char* step;
  } identities[] = {{"RpcImpersonateClient", 1726, "OpenRPCClientToken=0x000006be"},
                    {"OpenThreadToken", 5, "OpenRPCClientToken=0x00000005"},
                    {"GetTokenInformation", 6, "GetUser=0x00000006"}};
  for (const auto& entry : identities) {
    host::FailCall(entry.function, 1, entry.code);
    EXPECT_EQ(Register(W("P"), W("n"), kAny, 7), static_cast<DWORD>(E_FAIL));
    EXPECT_EQ(TakeLog()[1], std::string("hkd04a7, RegisterAppServiceForNotification, fail ") + entry.step + "\n");
    host::FailCall(entry.function, 1, entry.code);
    EXPECT_EQ(Unregister(W("P"), kAny, 7), static_cast<DWORD>(E_FAIL));
    EXPECT_EQ(TakeLog()[1], std::string("hkd04a7, UnregisterAppServiceForNotification, fail ") + entry.step + "\n");
  }
  host::FailCall("RegSetKeyValueW", 1, ERROR_DISK_FULL);
  EXPECT_EQ(Register(W("P"), W("n"), kAny, 7), 0x80070070u);
  ASSERT_EQ(Register(W("P"), W("n"), kAny, 7), kOk);
  for (const char* function : {"RegOpenKeyExW", "RegDeleteValueW"}) {
    host::FailCall(function, 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Unregister(W("P"), kAny, 7), 0x80070005u);
  }
  // An empty key that cannot be counted or removed is left; it can be used again.
  for (const char* function : {"RegQueryInfoKeyW", "RegDeleteKeyW"}) {
    host::FailCall(function, 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Unregister(W("P"), kAny, 7), kOk);
    EXPECT_TRUE(Exists(Key(W("7"))));
    ASSERT_EQ(Register(W("P"), W("n"), kAny, 7), kOk);
  }
}

}  // namespace
