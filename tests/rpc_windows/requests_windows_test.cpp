// App-service registrations and the run-as-system request over the platform's RPC runtime: the caller is an ordinary,
// unpackaged process.
#include <gtest/gtest.h>

#include "appservice/registration_keys.h"
#include "appservice/registration_store.h"
#include "common/handles.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "platform/threads.h"
#include "platform/tokens.h"
#include "tests/rpc_windows/interface_under_test.h"

namespace {

using namespace Quorvex::PC::Hkd04a7;
using Quorvex::PC::Common::UniqueRegistryKey;

constexpr const wchar_t* kPackage = L"Quorvex.Sample_m3tq8v0kc2wna";

// Whether this thread impersonates nobody.
bool HasItsOwnIdentity() {
  Quorvex::PC::Common::UniqueHandle token;
  return !OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.Receive()) && GetLastError() == ERROR_NO_TOKEN;
}

class WindowsRequests : public testing::Test {
 protected:
  Answer Register(const wchar_t* appService, DWORD flags, DWORD data1 = 5) {
    return Ask([&] {
      return Client_Hkd04a7Rpc_RegisterAppServiceForNotification(binding.Handle(), kPackage, appService, flags, 1,
                                                                 data1);
    });
  }
  Answer Unregister(DWORD flags, DWORD data1 = 5) {
    return Ask([&] {
      return Client_Hkd04a7Rpc_UnregisterAppServiceForNotification(binding.Handle(), kPackage, flags, 1, data1);
    });
  }
  // What the caller's own hive holds.
  static std::wstring Registered(RegistrationScope scope, DWORD data1 = 5) {
    wchar_t text[40] = L"";
    DWORD size = sizeof(text);
    const WideString path = FormatAppServiceKeyPath(1, scope, data1);
    const LSTATUS code = RegGetValueW(HKEY_CURRENT_USER, path.c_str(), kPackage, RRF_RT_REG_SZ, nullptr, text, &size);
    return code == ERROR_SUCCESS ? text : L"code " + std::to_wstring(code);
  }

  const Server server;
  const Binding binding{server.Endpoint()};
};

TEST_F(WindowsRequests, RegistrationsAreKeptInTheCallersHive) {
  EXPECT_EQ(Register(L"com.quorvex.events", APPSERVICE_REG_QUERY), Result(0x80070002));
  EXPECT_EQ(Register(L"com.quorvex.events", 0), kSucceeded);
  EXPECT_EQ(Registered(RegistrationScope::kOneData1), L"com.quorvex.events");
  EXPECT_EQ(Registered(RegistrationScope::kEveryOccurrence), L"code 2");
  EXPECT_EQ(Register(L"com.quorvex.all", APPSERVICE_REG_ANY_DATA1), kSucceeded);
  EXPECT_EQ(Registered(RegistrationScope::kEveryOccurrence), L"com.quorvex.all");
  EXPECT_EQ(Register(L"com.quorvex.events", APPSERVICE_REG_QUERY), kSucceeded);
  EXPECT_EQ(Register(L"com.quorvex.Events", APPSERVICE_REG_QUERY), Result(1));
  EXPECT_EQ(Unregister(0), kSucceeded);
  EXPECT_EQ(Unregister(0), Result(0x80070002));
  EXPECT_EQ(Registered(RegistrationScope::kOneData1), L"code 2");
  EXPECT_EQ(Unregister(APPSERVICE_REG_ANY_DATA1), kSucceeded);
}

TEST_F(WindowsRequests, AnUnpackagedCallerMayNotRunAnythingAsSystem) {
  DWORD exitCode = 0;
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_RunFileAsSystem(binding.Handle(), 0, L"command", L"", &exitCode); }),
            Result(0x80070005));
}

// Nobody is impersonated by a call that serves nobody; the thread is its own afterwards.
TEST_F(WindowsRequests, WithoutAClientTheRoutinesRefuse) {
  EXPECT_EQ(Hkd04a7Rpc_UnregisterAppServiceForNotification(nullptr, kPackage, 0, 1, 5), E_FAIL);
  DWORD exitCode = 7;
  EXPECT_EQ(Hkd04a7Rpc_RunFileAsSystem(nullptr, 0, L"command", L"", &exitCode), E_ACCESSDENIED);
  EXPECT_EQ(exitCode, 7u);
  EXPECT_TRUE(HasItsOwnIdentity());
}

}  // namespace
